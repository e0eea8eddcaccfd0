// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QList>

/// Builds QuickTime atoms in memory, big-endian, sizes filled in when an atom ends.
class AtomWriter
{
public:
    void begin(const char *type);
    /// An atom that starts with a version byte and 24 flag bits.
    void begin(const char *type, quint8 version, quint32 flags);
    void end();

    void u8(quint8 value);
    void u16(quint16 value);
    void u32(quint32 value);
    void u64(quint64 value);
    void f64(double value);
    void fourcc(const char *text);
    void zeros(int count);
    void bytes(const QByteArray &data) { _data.append(data); }
    /// Overwrites four bytes written before.
    void patch32(qsizetype position, quint32 value);

    qsizetype size() const { return _data.size(); }
    const QByteArray &data() const { return _data; }

private:
    QByteArray _data;
    QList<qsizetype> _open;
};

/// Appends a big-endian number; for tables that grow in their final form.
void appendBig32(QByteArray &data, quint32 value);
void appendBig64(QByteArray &data, quint64 value);
