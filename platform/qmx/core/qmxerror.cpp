// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxerror.h"

#include <system_error>

QString QmxError::toString() const
{
    if (!_sentence.isEmpty()) return _sentence;
    if (_value == 0) return QStringLiteral("No error");
    return QString::fromStdString(std::generic_category().message(_value));
}
