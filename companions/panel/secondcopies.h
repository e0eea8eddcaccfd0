// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/control.h"
#include "platform/product/clipplaces.h"

#include <QJsonObject>

#include <list>
#include <map>

/// Which of these clips of the active medium lie on the second one as well.
class SecondCopies
{
public:
    SecondCopies(Control &control, const std::list<Clip> &clips)
        : _mirror(control.recorder().text(eParam_MirrorMediaPath)),
          _frames(askSecondPlaces(control.recorder().text(eParam_ActiveMediaPath).toStdString(),
                                  _mirror.toStdString(), clips, control.recorder().environment()))
    {}
    void tell(const QString &name, QJsonObject &object) const
    {
        if (const auto copy = _frames.find(name.toStdString()); copy != _frames.end())
            object["second_copy"] = QJsonObject{{"path", _mirror}, {"frames", copy->second}};
    }

private:
    const QString _mirror;
    const std::map<std::string, int> _frames;
};
