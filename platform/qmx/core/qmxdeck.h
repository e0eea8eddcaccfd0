// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxalarmpost.h"
#include "platform/qmx/core/qmxcounters.h"
#include "platform/qmx/core/qmxgivenclips.h"
#include "platform/qmx/core/qmxnextclip.h"
#include "platform/qmx/core/qmxoperations.h"
#include "platform/qmx/core/qmxplayhead.h"
#include "platform/qmx/core/qmxrecordfailures.h"
#include "platform/qmx/core/qmxrecordtable.h"
#include "platform/qmx/core/qmxstartorder.h"
#include "platform/qmx/core/qmxtakeoptions.h"
#include "platform/qmx/core/qmxtakesequel.h"

/// What the streams and the video device of one recorder know of each other, what they tell of it, and what
/// whoever names clips tells them. Handed over in the environment (QmxEnvironment::deck); recorders in one
/// process have one each. Threads: as each member says.
struct QmxDeck
{
    QmxPlayhead playhead;
    QmxRecordTable recordTable;
    QmxRecordFailures recordFailures;
    QmxOperations operations;
    QmxCounters counters;
    QmxTakeOptions takeOptions;
    QmxStartOrders startOrders;
    QmxAlarmPost alarms;
    QmxNextClip nextClip;
    QmxTakeSequel takeSequel;
    QmxGivenClips givenClips;
};
