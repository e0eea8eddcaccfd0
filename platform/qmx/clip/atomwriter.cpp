// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/atomwriter.h"

#include <QtEndian>

#include <bit>

void appendBig32(QByteArray &data, quint32 value)
{
    const quint32 big = qToBigEndian(value);
    data.append(reinterpret_cast<const char *>(&big), sizeof big);
}

void appendBig64(QByteArray &data, quint64 value)
{
    const quint64 big = qToBigEndian(value);
    data.append(reinterpret_cast<const char *>(&big), sizeof big);
}

void AtomWriter::begin(const char *type)
{
    _open.append(_data.size());
    u32(0);
    fourcc(type);
}

void AtomWriter::begin(const char *type, quint8 version, quint32 flags)
{
    begin(type);
    u32(quint32(version) << 24 | flags);
}

void AtomWriter::end()
{
    const qsizetype start = _open.takeLast();
    patch32(start, quint32(_data.size() - start));
}

void AtomWriter::u8(quint8 value)
{
    _data.append(char(value));
}

void AtomWriter::u16(quint16 value)
{
    _data.append(char(value >> 8)).append(char(value));
}

void AtomWriter::u32(quint32 value)
{
    appendBig32(_data, value);
}

void AtomWriter::u64(quint64 value)
{
    appendBig64(_data, value);
}

void AtomWriter::f64(double value)
{
    u64(std::bit_cast<quint64>(value));
}

void AtomWriter::fourcc(const char *text)
{
    _data.append(text, 4);
}

void AtomWriter::zeros(int count)
{
    _data.append(count, '\0');
}

void AtomWriter::patch32(qsizetype position, quint32 value)
{
    qToBigEndian(value, _data.data() + position);
}
