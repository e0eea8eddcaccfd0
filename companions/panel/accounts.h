// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/panel/http.h"

#include <mutex>

/// The accounts of the panel, in a file that only its user reads: JSON, a password only as its Argon2id hash,
/// the token of a program only as its SHA-256. Any thread; read anew when the file has changed.
class Accounts
{
public:
    explicit Accounts(const QString &path);

    struct Account
    {
        QString name;
        Role role = Role::View;
        QString hash;       ///< of the password, as Argon2 writes it; empty: none, tokens only
        QStringList tokens; ///< SHA-256 of tokens for programs
    };

    QList<Account> all() const;
    /// Why what has the file's name is none of ours and counts for nothing; empty when it is well or missing.
    QString problem() const;
    bool isEmpty() const { return all().isEmpty(); }
    /// Nothing when there is no such account or the password is wrong. Takes a tenth of a second, on purpose,
    /// also for a name that there is not.
    std::optional<Role> check(const QString &name, const QString &password) const;
    std::optional<Account> ofToken(const QString &token) const;

    /// Each an error sentence, or empty.
    QString set(const QString &name, Role role, const QString &password);
    QString remove(const QString &name);
    /// A new token of that account, in `token`.
    QString addToken(const QString &name, QString &token);

    static QString defaultPath() { return QStringLiteral("/var/lib/xppanel/users.json"); }

private:
    QString write(const QList<Account> &accounts) const;
    int open() const;
    const QString _path;
    mutable std::mutex _mutex;
    mutable QList<Account> _read;
    mutable qint64 _readAt = 0; ///< time of the file
};
