// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/ctl/doctor.h"

/// Whether the ports of /etc/xp/remote.ini are open.
Finding remoteFinding(Recorder &recorder);
