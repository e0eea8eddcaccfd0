// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

/// Walks a command line of single-letter options ("-p", "-c value", "-cvalue", "-ps"). The first argument
/// is the program; "--" or the first one that is no option ends the walk.
class QmxGetOpts
{
public:
    explicit QmxGetOpts(const QStringList &argv);

    /// Takes the next option; false at the end. `letters` as for the C library: "phc:" where ":" follows a
    /// letter with an argument. An unknown letter or a missing argument: true, opt() is '?', error kept.
    bool getopt(const char *letters);
    int opt() const { return _opt; }
    QString arg() const { return _arg; }
    bool hasError() const { return !_error.isEmpty(); }
    /// The first error, a sentence for the operator; empty without one.
    QString errorString() const { return _error; }

private:
    void fail(const QString &sentence);

    QStringList _argv;
    int _index = 1;    // of the argument being read
    int _position = 0; // within it; 0: not begun
    int _opt = 0;
    QString _arg;
    QString _error;
};
