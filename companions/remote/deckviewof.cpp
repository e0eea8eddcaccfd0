// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/deckviewof.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr double usualRate = 25.0;

DeckView::Motion motionOf(const DeckState &state)
{
    using enum DeckView::Motion;
    if (!state.running || state.status == QLatin1String("shut_down")) return Gone;
    if (state.isRecording()) return Recording;
    if (state.status == QLatin1String("still")) return Still;
    return state.isInPlay() ? Playing : Stopped;
}

QmxTimecode timecodeOf(const QString &text, int fps, bool drop)
{
    QmxTimecode timecode(text);
    timecode.setFPS(fps);
    timecode.setDropFrame(drop);
    return timecode;
}

bool isUp(const DeckState &state, const char *alarm)
{
    return std::any_of(state.alarmList.begin(), state.alarmList.end(), [alarm](const QJsonValue &one) {
        return one["name"].toString().startsWith(QLatin1String(alarm));
    });
}
} // namespace

DeckView deckViewOf(const DeckState &state)
{
    DeckView view;
    view.motion = motionOf(state);
    view.speed = state.speed;
    view.hasMedium = !state.path.isEmpty();
    view.hasReference = !isUp(state, "reference_");
    view.mayRecord = state.recordInhibited.isEmpty() && view.motion != DeckView::Motion::Gone;
    view.hasFault = std::any_of(state.alarmList.begin(), state.alarmList.end(), [](const QJsonValue &one) {
        return one["level"].toString() == QLatin1String("error");
    });
    view.isLocal = state.mode == QLatin1String("local");
    view.fps = int(std::ceil((state.rate > 0 ? state.rate : usualRate) - 0.001));
    view.drop = state.dropFrame;
    view.timecode = timecodeOf(state.timecode, view.fps, state.dropFrame);
    view.generatorTimecode = state.isInPlay() ? QmxTimecode() : view.timecode;
    view.frame = state.isInPlay() ? state.frame : -1;
    view.takeFrames = state.clipFrames;
    view.length = state.length > 0 ? state.length : -1;
    view.secondsLeft = int(state.secondsLeft);
    view.clip = state.clip;
    return view;
}
