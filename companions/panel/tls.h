// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <utility>

#include <boost/asio/ssl/context.hpp>

#include <optional>

/// Fills `context` from PEM files, for TLS 1.2 and up; empty, or an error sentence.
QString loadCertificate(std::optional<boost::asio::ssl::context> &context, const QString &certificate,
                        const QString &key);
/// For connections to other panels. It trusts any certificate: what it is worth is for the fleet's key to
/// say.
boost::asio::ssl::context contextOfClients();
/// SHA-256 of a certificate, hexadecimal; empty: there is none.
QByteArray fingerprintOf(const X509 *certificate);
/// Writes a certificate that this machine has signed itself, for `names` and addresses, and its key (readable
/// by its owner alone); empty, or an error sentence.
QString writeCertificate(const QString &certificate, const QString &key, const QStringList &names);
