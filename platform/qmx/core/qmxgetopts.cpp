// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxgetopts.h"

#include <cstring>

QmxGetOpts::QmxGetOpts(const QStringList &argv) : _argv(argv) {}

bool QmxGetOpts::getopt(const char *letters)
{
    _arg.clear();
    if (_position == 0) {
        if (_index >= _argv.size()) return false;
        const QString &argument = _argv[_index];
        if (argument == QLatin1String("--")) {
            _index = int(_argv.size());
            return false;
        }
        if (argument.size() < 2 || argument[0] != u'-') return false;
        _position = 1;
    }

    const QString argument = _argv[_index];
    const QChar letter = argument[_position++];
    const bool atEnd = _position >= argument.size();
    const char *row = letter == u':' || letter.unicode() > 0x7f || letter.isNull()
                          ? nullptr
                          : std::strchr(letters, letter.toLatin1());
    if (!row) {
        fail(QStringLiteral("unknown option -%1").arg(letter));
    } else if (row[1] != ':') {
        _opt = letter.unicode();
    } else {
        // The argument is the rest of this word or the next word.
        if (!atEnd)
            _arg = argument.mid(_position);
        else if (_index + 1 < _argv.size())
            _arg = _argv[++_index];
        if (_arg.isNull())
            fail(QStringLiteral("option -%1 needs an argument").arg(letter));
        else
            _opt = letter.unicode();
        _position = 0;
        ++_index;
        return true;
    }
    if (atEnd) {
        _position = 0;
        ++_index;
    }
    return true;
}

void QmxGetOpts::fail(const QString &sentence)
{
    _opt = '?';
    if (_error.isEmpty()) _error = sentence;
}
