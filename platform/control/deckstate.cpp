// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/deckstate.h"

#include <vector>

namespace {
template <auto Member>
QJsonValue plain(const DeckState &state)
{
    return QJsonValue(state.*Member);
}

template <auto Member>
QJsonValue objectOrNull(const DeckState &state)
{
    const QJsonObject &object = state.*Member;
    return object.isEmpty() ? QJsonValue() : QJsonValue(object);
}

template <auto Member>
bool isSame(const DeckState &a, const DeckState &b)
{
    return a.*Member == b.*Member;
}

struct Row
{
    DeckField field;
    bool (*isSame)(const DeckState &a, const DeckState &b); ///< without making values of both
};

// clang-format off
constexpr Row rows[] = {
    {{"running", "boolean", "", false, "the daemon is there", plain<&DeckState::running>}, isSame<&DeckState::running>},
    {{"status", "string", "", false, "what the transport does: a label of transport_status, or not_running", plain<&DeckState::status>}, isSame<&DeckState::status>},
    {{"speed", "number", "", false, "of playback: 1 is normal, negative is reverse, 0 is still or stopped", plain<&DeckState::speed>}, isSame<&DeckState::speed>},
    {{"timecode", "string", "", true, "of the picture on the output; --:--:--:-- when there is none", plain<&DeckState::timecode>}, isSame<&DeckState::timecode>},
    {{"drop_frame", "boolean", "", false, "the output's timecode counts in drop frame", plain<&DeckState::dropFrame>}, isSame<&DeckState::dropFrame>},
    {{"input_timecode", "string", "", true, "of the input", plain<&DeckState::inputTimecode>}, isSame<&DeckState::inputTimecode>},
    {{"input_drop_frame", "boolean", "", false, "the input's timecode counts in drop frame", plain<&DeckState::inputDropFrame>}, isSame<&DeckState::inputDropFrame>},
    {{"timecode_source", "string", "", false, "where the timecode of a take comes from: a label of timecode_source", plain<&DeckState::timecodeSource>}, isSame<&DeckState::timecodeSource>},
    {{"clip_rate", "number", "frames/s", false, "of what is recorded or played; 0: not known", plain<&DeckState::rate>}, isSame<&DeckState::rate>},
    {{"clip", "string", "", false, "file name of the clip that is played or was recorded last; empty: none", plain<&DeckState::clip>}, isSame<&DeckState::clip>},
    {{"path", "string", "", false, "folder of the active medium; empty: none", plain<&DeckState::path>}, isSame<&DeckState::path>},
    {{"tick", "integer", "", true, "of the device's clock", plain<&DeckState::tick>}, isSame<&DeckState::tick>},
    {{"frame", "integer", "frames", true, "position: number of the frame on the output", plain<&DeckState::frame>}, isSame<&DeckState::frame>},
    {{"clip_frames", "integer", "frames", false, "of the clip that is played, or of the whole list; 0: not known", plain<&DeckState::length>}, isSame<&DeckState::length>},
    {{"grows", "boolean", "", false, "somebody still records the clip that is played", plain<&DeckState::grows>}, isSame<&DeckState::grows>},
    {{"live_distance", "integer", "frames", true, "from the output to the newest frame of the clip that grows; -1: none grows", plain<&DeckState::liveDistance>}, isSame<&DeckState::liveDistance>},
    {{"list_entry", "integer", "", false, "entry of the play list on the output; -1: none", plain<&DeckState::listEntry>}, isSame<&DeckState::listEntry>},
    {{"take_frames", "integer", "frames", true, "accepted for the take", plain<&DeckState::clipFrames>}, isSame<&DeckState::clipFrames>},
    {{"recorded_up_to", "integer", "frames", true, "of the take that survive a power cut", plain<&DeckState::recordedUpTo>}, isSame<&DeckState::recordedUpTo>},
    {{"take_start", "integer", "us", true, "moment of the first frame of the take that runs or was the last, since 1970 by the recorder's clock; what tells how far those of several recorders are apart; 0: none", plain<&DeckState::takeStart>}, isSame<&DeckState::takeStart>},
    {{"start_in", "integer", "frames", true, "until the take begins that has been commanded and waits for its first frame; -1: it waits for a picture of its input; 0: none waits", plain<&DeckState::startIn>}, isSame<&DeckState::startIn>},
    {{"take_copies", "integer", "media", false, "that the take is written to, or was to its end", plain<&DeckState::takeCopies>}, isSame<&DeckState::takeCopies>},
    {{"safe_on_both", "integer", "frames", true, "of a take on two media that are safe on both", plain<&DeckState::safeOnBoth>}, isSame<&DeckState::safeOnBoth>},
    {{"mirror_path", "string", "", false, "folder on a second medium that takes are written to as well; empty: none", plain<&DeckState::mirrorPath>}, isSame<&DeckState::mirrorPath>},
    {{"dropped_capture", "integer", "frames", true, "lost in recording since the daemon began", plain<&DeckState::droppedCapture>}, isSame<&DeckState::droppedCapture>},
    {{"dropped_playback", "integer", "frames", true, "missing in playback since the daemon began", plain<&DeckState::droppedPlayback>}, isSame<&DeckState::droppedPlayback>},
    {{"late_ticks", "integer", "", true, "ticks of the video clock that came late", plain<&DeckState::lateTicks>}, isSame<&DeckState::lateTicks>},
    {{"input_format", "string", "", false, "of the picture on the input: none, unknown, or a format", plain<&DeckState::inputFormat>}, isSame<&DeckState::inputFormat>},
    {{"input_locked", "boolean", "", false, "the input has a picture of a known format", plain<&DeckState::inputLocked>}, isSame<&DeckState::inputLocked>},
    {{"record_format", "string", "", false, "in which the input would be recorded now", plain<&DeckState::recordFormat>}, isSame<&DeckState::recordFormat>},
    {{"record_codec", "string", "", false, "of takes", plain<&DeckState::recordCodec>}, isSame<&DeckState::recordCodec>},
    {{"media_format", "string", "", false, "of the clip that is played or recorded", plain<&DeckState::mediaFormat>}, isSame<&DeckState::mediaFormat>},
    {{"record_inhibited", "string", "", false, "why a take was refused; empty: it was not", plain<&DeckState::recordInhibited>}, isSame<&DeckState::recordInhibited>},
    {{"playback_source", "string", "", false, "what is played: a label of playback_source", plain<&DeckState::playbackSource>}, isSame<&DeckState::playbackSource>},
    {{"media", "array", "", false, "as `xpctl media` tells them: path, label, state, percent_free, bytes_free, bytes_total, clips, seconds_left", plain<&DeckState::media>}, isSame<&DeckState::media>},
    {{"medium_seconds_left", "integer", "s", false, "how long a take can become over all media; 0: not known", plain<&DeckState::secondsLeft>}, isSame<&DeckState::secondsLeft>},
    {{"alarms", "integer", "", false, "how many are up", plain<&DeckState::alarms>}, isSame<&DeckState::alarms>},
    {{"alarm_list", "array", "", false, "those that are up: name, level, message, since, advice, acknowledged_by, acknowledged_at", plain<&DeckState::alarmList>}, isSame<&DeckState::alarmList>},
    {{"owner", "object", "", false, "who is in control: name, front, address, id, since, until, seconds; null: nobody", objectOrNull<&DeckState::owner>}, isSame<&DeckState::owner>},
    {{"lock", "object", "", false, "who has locked the transport, as owner; null: nobody", objectOrNull<&DeckState::lock>}, isSame<&DeckState::lock>},
    {{"mode", "string", "", false, "remote: everybody may move the transport; local: only who sits at the machine", plain<&DeckState::mode>}, isSame<&DeckState::mode>},
    {{"take", "object", "", false, "who began the take that runs: name, front, address, id, since; null: none runs", objectOrNull<&DeckState::take>}, isSame<&DeckState::take>},
    {{"list_revision", "string", "", false, "changes with the play list", plain<&DeckState::listRevision>}, isSame<&DeckState::listRevision>},
    {{"marks_changed", "object", "", false, "whose marks have changed last: clip (empty: any), count, which is another one each time; null: none since the panel began", objectOrNull<&DeckState::marksChanged>}, isSame<&DeckState::marksChanged>},
    {{"store_problem", "string", "", false, "why the store cannot be reached; empty: it can", plain<&DeckState::storeProblem>}, isSame<&DeckState::storeProblem>},
};
// clang-format on
} // namespace

std::span<const DeckField> deckFields()
{
    static const auto fields = [] {
        std::vector<DeckField> all;
        for (const Row &row : rows)
            all.push_back(row.field);
        return all;
    }();
    return fields;
}

bool DeckState::isRecording() const
{
    return status == QLatin1String("recording");
}

bool DeckState::canRecordInput() const
{
    return recordFormat != QLatin1String("not_recordable");
}

bool DeckState::isInPlay() const
{
    return running && !isRecording() && status != QLatin1String("stopped") &&
           status != QLatin1String("shut_down");
}

QJsonObject DeckState::toJson() const
{
    QJsonObject object;
    for (const Row &row : rows)
        object[QLatin1String(row.field.name)] = row.field.value(*this);
    object["revision"] = qint64(revision);
    return object;
}

QJsonObject DeckState::changesSince(const DeckState &before) const
{
    QJsonObject object;
    for (const Row &row : rows)
        if (!row.isSame(*this, before)) object[QLatin1String(row.field.name)] = row.field.value(*this);
    return object;
}
