// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxids.h"

#include <algorithm>
#include <iterator>

namespace {

struct Row
{
    int value;
    const char *name;
};

#define QMX_ID_ROW(constant, number, name) {number, name},
#define QMX_ALARM_ROW(alarm, number, name, ...) {number, name},
#define QMX_NO_ROW(...)
constexpr Row rows[] = {QMX_IDS(QMX_ID_ROW) QMX_ALARMS(QMX_ALARM_ROW, QMX_NO_ROW)
                            QMX_IDS_AFTER_ALARMS(QMX_ID_ROW)};
#undef QMX_ID_ROW
#undef QMX_ALARM_ROW
#undef QMX_NO_ROW

// They are looked up by halves.
constexpr bool rising()
{
    for (size_t i = 1; i < std::size(rows); ++i)
        if (rows[i - 1].value >= rows[i].value) return false;
    return true;
}
static_assert(rising());

} // namespace

QString QmxId::name() const
{
    const Row *row = std::lower_bound(std::begin(rows), std::end(rows), _value,
                                      [](const Row &r, int value) { return r.value < value; });
    if (row == std::end(rows) || row->value != _value) return QString::number(_value);
    return QString::fromLatin1(row->name);
}
