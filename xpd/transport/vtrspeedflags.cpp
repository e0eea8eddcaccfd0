// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/vtrspeedflags.h"

#include <QStringList>

namespace {

struct FlagWord
{
    VtrSpeedFlags::Flag flag;
    const char *word;
};

constexpr FlagWord flagWords[] = {
    {VtrSpeedFlags::Valid, "Valid"}, {VtrSpeedFlags::Fwd, "Fwd"},     {VtrSpeedFlags::Rev, "Rev"},
    {VtrSpeedFlags::Bit3, "Bit3"},   {VtrSpeedFlags::Still, "Still"}, {VtrSpeedFlags::Normal, "Normal"},
    {VtrSpeedFlags::Slow, "Slow"},   {VtrSpeedFlags::Fast, "Fast"},
};

} // namespace

VtrSpeedFlags VtrSpeedFlags::fromSpeed(double speed)
{
    quint32 flags = Valid;
    if (speed > 0.0) flags |= Fwd;
    if (speed < 0.0) flags |= Rev;
    if (speed == 0.0) flags |= Still;
    if (speed == 1.0 || speed == -1.0) flags |= Normal;
    if (speed != 0.0 && -1.0 < speed && speed < 1.0) flags |= Slow;
    if (speed > 1.0 || speed < -1.0) flags |= Fast;
    return VtrSpeedFlags(flags);
}

QString VtrSpeedFlags::toString() const
{
    QStringList words;
    for (const FlagWord &row : flagWords)
        if (_flags & row.flag) words.append(QString::fromLatin1(row.word));
    return words.join(QLatin1Char(' '));
}
