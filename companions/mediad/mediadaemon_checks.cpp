// SPDX-License-Identifier: GPL-3.0-or-later
// What others have set and the transport passes over: clips that are not there, a table that is not.
#include "companions/mediad/mediadaemon.h"
#include "platform/product/file.h"
#include "platform/store/alarmvalue.h"
#include "platform/store/paramdescriptor.h"

void MediaDaemon::checkChoices(const MediaParameters &is, const MediaEvents &happened,
                               std::vector<MediaWrite> &writes)
{
    const auto seen = _media.seen(is.active);
    const std::vector<MediaWrite> told =
        _choices.step(_environment.clock->now(), seen ? &seen->medium : nullptr, seen ? seen->since : 0, is,
                      _store.text(eParam_PlayList), happened.takeBegun);
    writes.insert(writes.end(), told.begin(), told.end());
}

TableCheck::Setting MediaDaemon::tableSetting()
{
    TableCheck::Setting is;
    is.isOn = _store.number(eParam_LutPosition) != 0;
    is.path = GetDescriptor(eParam_LutFile)->print(StoreValue::fromData(_store.text(eParam_LutFile)));
    is.isThere = kel::utils::file::File::file_exists(is.path);
    AlarmSeverity severity{};
    parseAlarmValue(_store.text(eParam_AlarmLutError), severity, is.alarm);
    return is;
}
