// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxsoundpacing.h"

#include "platform/qmx/core/qmxaudio.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {
constexpr int leastDistance = qmxAudioRate / 125; ///< 8 ms, what a thread may be late
constexpr double smoothing = 1 / 32.0;
constexpr double correction = 1 / 64.0; ///< share of the difference taken up in one tick
constexpr int largestStretch = 500;     ///< one sample of so many: nobody hears that
} // namespace

int QmxSoundPacing::distance(const QmxVideoRate &rate) const
{
    return std::max({qmxAudioSamples(0, rate) / 2, leastDistance, _period});
}

QmxSoundPacing::Step QmxSoundPacing::step(qint64 waiting, int samples, const QmxVideoRate &rate)
{
    Step made;
    const int wanted = distance(rate);
    const int difference = int(std::clamp<qint64>(waiting - wanted, -qmxAudioRate, qmxAudioRate));
    if (!_isRunning || std::abs(difference) > wanted) {
        if (_isRunning) ++_jumps;
        made.silence = std::max(-difference, 0);
        made.dropped = std::clamp(difference, 0, samples);
        _isRunning = true;
        _error = 0;
        return made;
    }
    _error += (difference - _error) * smoothing;
    const int most = std::max(samples / largestStretch, 1);
    made.stretch = std::clamp(int(std::lround(-_error * correction)), -most, most);
    return made;
}
