// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxaudiodesc.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmximagedesc.h"
#include "platform/qmx/core/qmxtimecode.h"

#include <QByteArray>
#include <QStringList>

#include <ostream>

// How a failed comparison shows the values.
inline void PrintTo(const QString &text, std::ostream *out)
{
    *out << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QByteArray &bytes, std::ostream *out)
{
    *out << '"' << bytes.toStdString() << '"';
}
inline void PrintTo(const QStringList &texts, std::ostream *out)
{
    *out << '[' << texts.join(QStringLiteral(", ")).toStdString() << ']';
}
inline void PrintTo(const QmxId &id, std::ostream *out)
{
    *out << id.value() << " (" << id.name().toStdString() << ')';
}
inline void PrintTo(const QmxError &error, std::ostream *out)
{
    *out << error.value() << " (" << error.toString().toStdString() << ')';
}
inline void PrintTo(const QmxVideoRate &rate, std::ostream *out)
{
    *out << rate.num() << '/' << rate.den();
}
inline void PrintTo(const QmxTimecode &timecode, std::ostream *out)
{
    *out << timecode.toString().toStdString() << '@' << timecode.fps();
}
inline void PrintTo(const QmxImageDesc &desc, std::ostream *out)
{
    *out << desc.toString().toStdString();
}
inline void PrintTo(const QmxAudioDesc &desc, std::ostream *out)
{
    *out << desc.toString().toStdString();
}
