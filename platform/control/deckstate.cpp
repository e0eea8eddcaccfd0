// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/deckstate.h"

namespace {
QJsonValue objectOrNull(const QJsonObject &object)
{
    return object.isEmpty() ? QJsonValue() : QJsonValue(object);
}

// clang-format off
constexpr DeckField rows[] = {
    {"running", "boolean", "", false, "the daemon is there", [](const DeckState &s) { return QJsonValue(s.running); }},
    {"status", "string", "", false, "what the transport does: a label of transport_status, or not_running", [](const DeckState &s) { return QJsonValue(s.status); }},
    {"speed", "number", "", false, "of playback: 1 is normal, negative is reverse, 0 is still or stopped", [](const DeckState &s) { return QJsonValue(s.speed); }},
    {"timecode", "string", "", true, "of the picture on the output; --:--:--:-- when there is none", [](const DeckState &s) { return QJsonValue(s.timecode); }},
    {"drop_frame", "boolean", "", false, "the output's timecode counts in drop frame", [](const DeckState &s) { return QJsonValue(s.dropFrame); }},
    {"input_timecode", "string", "", true, "of the input", [](const DeckState &s) { return QJsonValue(s.inputTimecode); }},
    {"input_drop_frame", "boolean", "", false, "the input's timecode counts in drop frame", [](const DeckState &s) { return QJsonValue(s.inputDropFrame); }},
    {"timecode_source", "string", "", false, "where the timecode of a take comes from: a label of timecode_source", [](const DeckState &s) { return QJsonValue(s.timecodeSource); }},
    {"clip_rate", "number", "frames/s", false, "of what is recorded or played; 0: not known", [](const DeckState &s) { return QJsonValue(s.rate); }},
    {"clip", "string", "", false, "file name of the clip that is played or was recorded last; empty: none", [](const DeckState &s) { return QJsonValue(s.clip); }},
    {"path", "string", "", false, "folder of the active medium; empty: none", [](const DeckState &s) { return QJsonValue(s.path); }},
    {"tick", "integer", "", true, "of the device's clock", [](const DeckState &s) { return QJsonValue(s.tick); }},
    {"frame", "integer", "frames", true, "position: number of the frame on the output", [](const DeckState &s) { return QJsonValue(s.frame); }},
    {"clip_frames", "integer", "frames", false, "of the clip that is played; 0: not known", [](const DeckState &s) { return QJsonValue(s.length); }},
    {"grows", "boolean", "", false, "somebody still records the clip that is played", [](const DeckState &s) { return QJsonValue(s.grows); }},
    {"live_distance", "integer", "frames", true, "from the output to the newest frame of the clip that grows; -1: none grows", [](const DeckState &s) { return QJsonValue(s.liveDistance); }},
    {"list_entry", "integer", "", false, "entry of the play list on the output; -1: none", [](const DeckState &s) { return QJsonValue(s.listEntry); }},
    {"take_frames", "integer", "frames", true, "accepted for the take", [](const DeckState &s) { return QJsonValue(s.clipFrames); }},
    {"recorded_up_to", "integer", "frames", true, "of the take that survive a power cut", [](const DeckState &s) { return QJsonValue(s.recordedUpTo); }},
    {"take_copies", "integer", "media", false, "that the take is written to, or was to its end", [](const DeckState &s) { return QJsonValue(s.takeCopies); }},
    {"safe_on_both", "integer", "frames", true, "of a take on two media that are safe on both", [](const DeckState &s) { return QJsonValue(s.safeOnBoth); }},
    {"mirror_path", "string", "", false, "folder on a second medium that takes are written to as well; empty: none", [](const DeckState &s) { return QJsonValue(s.mirrorPath); }},
    {"dropped_capture", "integer", "frames", true, "lost in recording since the daemon began", [](const DeckState &s) { return QJsonValue(s.droppedCapture); }},
    {"dropped_playback", "integer", "frames", true, "missing in playback since the daemon began", [](const DeckState &s) { return QJsonValue(s.droppedPlayback); }},
    {"late_ticks", "integer", "", true, "ticks of the video clock that came late", [](const DeckState &s) { return QJsonValue(s.lateTicks); }},
    {"input_format", "string", "", false, "of the picture on the input: none, unknown, or a format", [](const DeckState &s) { return QJsonValue(s.inputFormat); }},
    {"input_locked", "boolean", "", false, "the input has a picture of a known format", [](const DeckState &s) { return QJsonValue(s.inputLocked); }},
    {"record_format", "string", "", false, "in which the input would be recorded now", [](const DeckState &s) { return QJsonValue(s.recordFormat); }},
    {"record_codec", "string", "", false, "of takes", [](const DeckState &s) { return QJsonValue(s.recordCodec); }},
    {"media_format", "string", "", false, "of the clip that is played or recorded", [](const DeckState &s) { return QJsonValue(s.mediaFormat); }},
    {"record_inhibited", "string", "", false, "why a take was refused; empty: it was not", [](const DeckState &s) { return QJsonValue(s.recordInhibited); }},
    {"playback_source", "string", "", false, "what is played: a label of playback_source", [](const DeckState &s) { return QJsonValue(s.playbackSource); }},
    {"media", "array", "", false, "as `xpctl media` tells them: path, label, state, percent_free, bytes_free, bytes_total, clips, seconds_left", [](const DeckState &s) { return QJsonValue(s.media); }},
    {"medium_seconds_left", "integer", "s", false, "how long a take can become over all media; 0: not known", [](const DeckState &s) { return QJsonValue(s.secondsLeft); }},
    {"alarms", "integer", "", false, "how many are up", [](const DeckState &s) { return QJsonValue(s.alarms); }},
    {"alarm_list", "array", "", false, "those that are up: name, level, message, since, advice", [](const DeckState &s) { return QJsonValue(s.alarmList); }},
    {"owner", "object", "", false, "who is in control: name, front, address, id, since, until, seconds; null: nobody", [](const DeckState &s) { return objectOrNull(s.owner); }},
    {"lock", "object", "", false, "who has locked the transport, as owner; null: nobody", [](const DeckState &s) { return objectOrNull(s.lock); }},
    {"mode", "string", "", false, "remote: everybody may move the transport; local: only who sits at the machine", [](const DeckState &s) { return QJsonValue(s.mode); }},
    {"take", "object", "", false, "who began the take that runs: name, front, address, id, since; null: none runs", [](const DeckState &s) { return objectOrNull(s.take); }},
    {"list_revision", "string", "", false, "changes with the play list", [](const DeckState &s) { return QJsonValue(s.listRevision); }},
    {"marks_changed", "object", "", false, "whose marks have changed last: clip (empty: any), count, which is another one each time; null: none since the panel began", [](const DeckState &s) { return objectOrNull(s.marksChanged); }},
    {"store_problem", "string", "", false, "why the store cannot be reached; empty: it can", [](const DeckState &s) { return QJsonValue(s.storeProblem); }},
};
// clang-format on
} // namespace

std::span<const DeckField> deckFields()
{
    return rows;
}

bool DeckState::isRecording() const
{
    return status == QLatin1String("recording");
}

bool DeckState::isInPlay() const
{
    return running && !isRecording() && status != QLatin1String("stopped") &&
           status != QLatin1String("shut_down");
}

QJsonObject DeckState::toJson() const
{
    QJsonObject object;
    for (const DeckField &field : rows)
        object[QLatin1String(field.name)] = field.value(*this);
    object["revision"] = qint64(revision);
    return object;
}

QJsonObject DeckState::changesSince(const DeckState &before) const
{
    QJsonObject object;
    for (const DeckField &field : rows) {
        const QJsonValue now = field.value(*this);
        if (now != field.value(before)) object[QLatin1String(field.name)] = now;
    }
    return object;
}
