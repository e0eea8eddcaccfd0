// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/mediad/mediamachine.h"

#include <atomic>
#include <functional>
#include <optional>

/// Tells that the look-up table that is set is not there. The transport then works without one and says
/// nothing, when it begins and when file or position are set; so that is when this looks.
///
/// No clock and no files. note() from any thread, step() from one.
class TableCheck
{
public:
    struct Setting
    {
        bool isOn = false;
        std::string path; ///< empty: none
        bool isThere = false;
        std::string alarm; ///< what the alarm of tables says now
    };

    /// Whether a parameter is about the table.
    static bool isAbout(eParam_t id);
    /// One of them has been written.
    void note() { _written = true; }
    /// What is to be written now. `recorder`: process of the daemon, 0 when none runs. The setting is asked
    /// for only when it is wanted.
    std::vector<MediaWrite> step(std::int64_t now, int recorder, const std::function<Setting()> &setting);

private:
    std::atomic<bool> _written = false;
    int _recorder = 0;
    std::string _missing;                ///< the table that was not there when it was looked for; empty: none
    std::optional<std::int64_t> _tellAt; ///< nothing to tell without it
};
