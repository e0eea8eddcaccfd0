// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

#include <utility>

#include <boost/asio/ssl/context.hpp>

#include <optional>

/// Fills `context` from PEM files, for TLS 1.2 and up; empty, or an error sentence.
QString loadCertificate(std::optional<boost::asio::ssl::context> &context, const QString &certificate,
                        const QString &key);
/// Writes a certificate that this machine has signed itself, for `names` and addresses, and its key (readable
/// by its owner alone); empty, or an error sentence.
QString writeCertificate(const QString &certificate, const QString &key, const QStringList &names);
