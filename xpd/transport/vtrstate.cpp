// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/vtrstate.h"

VtrState::VtrState() : _d(new VtrStateData) {}

bool VtrState::operator!=(const VtrState &other) const
{
    return _d.constData() != other._d.constData() && *_d != *other._d;
}

void registerMetaTypes()
{
    qRegisterMetaType<VtrState>();
}
