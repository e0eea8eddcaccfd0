// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMetaType>

/// State of the reference that the clock follows. A value.
class QmxVideoRefState
{
public:
    QmxVideoRefState() = default;
    QmxVideoRefState(bool present, bool locked) : _present(present), _locked(locked) {}

    bool isPresent() const { return _present; }
    bool isLocked() const { return _locked; }
    bool isValid() const { return _present; }

    friend bool operator==(const QmxVideoRefState &, const QmxVideoRefState &) = default;

private:
    bool _present = false;
    bool _locked = false;
};

Q_DECLARE_METATYPE(QmxVideoRefState)
