// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxsource.h"

QmxSource::~QmxSource() = default;
