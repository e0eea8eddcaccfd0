// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/panel/accounts.h"
#include "companions/panel/http.h"

#include <deque>
#include <map>

/// What the server is told about itself; see `xppanel --help`.
struct PanelOptions
{
    QString address = QStringLiteral("127.0.0.1");
    quint16 port = 8090;
    QStringList hosts; ///< names under which the panel is reached, beside addresses and this machine's name
    QString certificate, key; ///< files; empty: no TLS
    bool isLoopback() const;
    bool hasTls() const { return !certificate.isEmpty(); }
};

/// Who may ask for what: names of hosts, origins of pages, tokens, accounts, sessions. On the server's
/// thread, but logIn(), which takes its time and is for a worker.
class Access
{
public:
    Access(const PanelOptions &options, Accounts &accounts);
    /// What says whether another panel has signed a request, and what proves it to that one.
    void setFleet(std::function<bool(const HttpCall &call, QByteArray &proof)> verify)
    {
        _verify = std::move(verify);
    }

    /// Nothing, or why the request is turned away before anything else: a Host that is not ours (a name of
    /// somebody else that leads here), a page of somebody else, a change that a browser asks for without its
    /// page being ours.
    std::optional<HttpReply> refusal(const HttpCall &call) const;
    /// Fills in `caller`. False: it says it is somebody and is not (a wrong token).
    bool identify(HttpCall &call);
    /// Whether a peer may try to log in, or present a token, now; after wrong ones it has to wait.
    bool mayTry(const QString &address);
    void failed(const QString &address);
    void succeeded(const QString &address) { _failures.erase(address); }

    /// A session for an account whose password was right; its token.
    QString begin(const QString &name, Role role);
    void end(const QString &token);

    /// Writes a token for the group to read, or takes the one that a former run left there; an error sentence
    /// when it cannot.
    QString writeToken(const QString &path);
    QString token() const { return _token; }

    static constexpr qint64 sessionHours = 12;
    static constexpr size_t mostSessions = 256;

private:
    struct Session
    {
        QString name;
        Role role;
        qint64 until;
    };
    struct Failures
    {
        int count = 0;
        qint64 until = 0;
    };
    bool isOurs(const QString &host) const;

    bool identifyPanel(HttpCall &call) const;

    const PanelOptions _options;
    std::function<bool(const HttpCall &call, QByteArray &proof)> _verify;
    Accounts &_accounts;
    QString _token;
    std::map<QString, Session> _sessions;  ///< by token
    std::map<QString, Failures> _failures; ///< by address of the peer
};

/// Chance from the kernel, as hexadecimal digits.
QString randomToken();
/// Without telling by its time how much is equal.
bool isSame(const QByteArray &a, const QByteArray &b);
