// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/text/linereader.h"

#include <QStringDecoder>

void LineReader::feed(const QByteArray &bytes)
{
    qsizetype from = 0;
    while (from < bytes.size()) {
        const qsizetype newline = bytes.indexOf('\n', from);
        const qsizetype to = newline < 0 ? bytes.size() : newline;
        if (_bytes.size() + to - from > longest) _tooLong = true;
        if (_tooLong)
            _bytes.clear();
        else
            _bytes.append(bytes.mid(from, to - from));
        if (newline >= 0) end();
        from = to + 1;
    }
}

void LineReader::end()
{
    QByteArray bytes = std::exchange(_bytes, {});
    if (std::exchange(_tooLong, false)) return _wrong(Bad::TooLong);
    if (bytes.endsWith('\r')) bytes.chop(1);
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(bytes);
    if (decoder.hasError() || bytes.contains('\0')) return _wrong(Bad::NotText);
    _line(text);
}
