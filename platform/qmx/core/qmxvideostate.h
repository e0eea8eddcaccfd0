// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmximagedesc.h"

/// What an input sees. A value; equal by all fields, none of which changes from frame to frame.
class QmxVideoState
{
public:
    /// A signal that can be made sense of; one that cannot be recorded is valid with a recInhibit().
    bool isValid() const { return _valid; }
    void setValid(bool valid) { _valid = valid; }
    /// Some signal is there.
    bool isPresent() const { return _present; }
    void setPresent(bool present) { _present = present; }
    /// Format of the signal.
    QmxImageDesc inputImageDesc() const { return _inputImageDesc; }
    void setInputImageDesc(const QmxImageDesc &desc) { _inputImageDesc = desc; }
    /// Format as captured, after the input conversion.
    QmxImageDesc captureImageDesc() const { return _captureImageDesc; }
    void setCaptureImageDesc(const QmxImageDesc &desc) { _captureImageDesc = desc; }
    /// Why it cannot be recorded: 2001, 2002; not valid: it can.
    QmxId recInhibit() const { return _recInhibit; }
    void setRecInhibit(const QmxId &reason) { _recInhibit = reason; }
    /// Rate class of a variable-rate signal: 0 none, 1 23.98, 2 24, 3 25, 4 29.97, 5 30.
    int vfrfps() const { return _vfrfps; }
    void setVfrfps(int vfrfps) { _vfrfps = vfrfps; }

    QString toString() const;

    friend bool operator==(const QmxVideoState &, const QmxVideoState &) = default;

private:
    bool _valid = false;
    bool _present = false;
    QmxImageDesc _inputImageDesc;
    QmxImageDesc _captureImageDesc;
    QmxId _recInhibit;
    int _vfrfps = 0;
};

Q_DECLARE_METATYPE(QmxVideoState)
