// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

/// Cuts a stream into lines. What is longer than a line may be, holds a NUL or is no UTF-8 is told as bad
/// once and read up to its end; a line of any length takes no more memory than the longest good one.
class LineReader
{
public:
    static constexpr qsizetype longest = 4096;
    enum class Bad { TooLong, NotText };

    using Line = std::function<void(const QString &line)>;
    using Wrong = std::function<void(Bad bad)>;
    LineReader(Line line, Wrong wrong) : _line(std::move(line)), _wrong(std::move(wrong)) {}

    void feed(const QByteArray &bytes);

private:
    void end();

    const Line _line;
    const Wrong _wrong;
    QByteArray _bytes;
    bool _tooLong = false;
};
