// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/tls.h"

#include <QFile>

#include <arpa/inet.h>
#include <array>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

namespace {
struct Freed
{
    void operator()(EVP_PKEY *key) const { EVP_PKEY_free(key); }
    void operator()(X509 *certificate) const { X509_free(certificate); }
    void operator()(X509_EXTENSION *extension) const { X509_EXTENSION_free(extension); }
    void operator()(FILE *file) const { std::fclose(file); }
};
template <typename T>
using Owned = std::unique_ptr<T, Freed>;

bool isAddress(const QString &name)
{
    std::array<unsigned char, sizeof(in6_addr)> bytes{};
    const QByteArray text = name.toLatin1();
    return inet_pton(AF_INET, text.constData(), bytes.data()) == 1 ||
           inet_pton(AF_INET6, text.constData(), bytes.data()) == 1;
}

bool addExtension(X509 *certificate, int kind, const QByteArray &value)
{
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
    const Owned<X509_EXTENSION> extension(X509V3_EXT_conf_nid(nullptr, &context, kind, value.constData()));
    return extension && X509_add_ext(certificate, extension.get(), -1) == 1;
}

Owned<X509> selfSigned(EVP_PKEY *key, const QStringList &names)
{
    Owned<X509> certificate(X509_new());
    if (!certificate) return nullptr;
    constexpr long version3 = 2;
    constexpr long lifetime = 825L * 24 * 3600; // s: browsers take none that lives longer
    uint64_t serial = 0;
    RAND_bytes(reinterpret_cast<unsigned char *>(&serial), sizeof(serial));
    X509_set_version(certificate.get(), version3);
    ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate.get()), serial >> 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), lifetime);
    X509_set_pubkey(certificate.get(), key);
    X509_NAME *name = X509_get_subject_name(certificate.get());
    const QByteArray first = names.first().toUtf8();
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char *>(first.constData()), -1, -1, 0);
    X509_set_issuer_name(certificate.get(), name);
    QStringList alternatives;
    for (const QString &one : names)
        alternatives << (isAddress(one) ? "IP:" : "DNS:") + one;
    const bool isWhole =
        addExtension(certificate.get(), NID_subject_alt_name, alternatives.join(',').toUtf8()) &&
        addExtension(certificate.get(), NID_basic_constraints, "critical,CA:FALSE") &&
        addExtension(certificate.get(), NID_ext_key_usage, "serverAuth") &&
        X509_sign(certificate.get(), key, EVP_sha256()) > 0;
    return isWhole ? std::move(certificate) : nullptr;
}

Owned<FILE> created(const QString &path, mode_t mode)
{
    const int fd = open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
    return Owned<FILE>(fd < 0 ? nullptr : fdopen(fd, "w"));
}
} // namespace

QString loadCertificate(std::optional<boost::asio::ssl::context> &context, const QString &certificate,
                        const QString &key)
{
    namespace ssl = boost::asio::ssl;
    context.emplace(ssl::context::tls_server);
    boost::system::error_code error;
    context->set_options(ssl::context::default_workarounds | ssl::context::no_sslv2 | ssl::context::no_sslv3 |
                             ssl::context::no_tlsv1 | ssl::context::no_tlsv1_1,
                         error);
    context->use_certificate_chain_file(certificate.toStdString(), error);
    if (error)
        return QStringLiteral("the certificate %1 cannot be used: %2")
            .arg(certificate, QString::fromStdString(error.message()));
    context->use_private_key_file(key.toStdString(), ssl::context::pem, error);
    if (error)
        return QStringLiteral("the key %1 cannot be used: %2")
            .arg(key, QString::fromStdString(error.message()));
    return {};
}

boost::asio::ssl::context contextOfClients()
{
    namespace ssl = boost::asio::ssl;
    ssl::context context(ssl::context::tls_client);
    boost::system::error_code ignored; // (what is left out of these is not in OpenSSL either)
    context.set_options(ssl::context::default_workarounds | ssl::context::no_tlsv1 | ssl::context::no_tlsv1_1,
                        ignored);
    context.set_verify_mode(ssl::verify_none, ignored);
    return context;
}

QByteArray fingerprintOf(const X509 *certificate)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
    unsigned size = 0;
    if (!certificate || X509_digest(certificate, EVP_sha256(), bytes.data(), &size) != 1) return {};
    return QByteArray(reinterpret_cast<const char *>(bytes.data()), qsizetype(size)).toHex();
}

QString writeCertificate(const QString &certificate, const QString &key, const QStringList &names)
{
    const Owned<EVP_PKEY> pair(EVP_EC_gen("P-256"));
    if (!pair) return QStringLiteral("no key can be made");
    const Owned<X509> signed_ = selfSigned(pair.get(), names);
    if (!signed_) return QStringLiteral("no certificate can be made for %1").arg(names.join(", "));
    const auto keyFile = created(key, 0600);
    if (!keyFile ||
        PEM_write_PrivateKey(keyFile.get(), pair.get(), nullptr, nullptr, 0, nullptr, nullptr) != 1)
        return QStringLiteral("%1 cannot be written").arg(key);
    const auto file = created(certificate, 0644);
    if (!file || PEM_write_X509(file.get(), signed_.get()) != 1)
        return QStringLiteral("%1 cannot be written").arg(certificate);
    return {};
}
