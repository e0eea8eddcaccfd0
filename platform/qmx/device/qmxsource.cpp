// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/qmxsource.h"

QmxSource::~QmxSource() = default;
