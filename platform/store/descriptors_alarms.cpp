// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/eparammedia.h"
#include "platform/store/paramrow.h"

namespace {

/// An alarm of something that happened. Nobody tells that it is over and a repeat is swallowed, so the next
/// deliberate action clears it: without that the second take's failure would stay silent. A stop does not
/// clear it, because a stop pressed out of habit would wipe the news.
const std::initializer_list<const char *> event = {"clear_on_play_pressed", "clear_on_record_pressed",
                                                   "clear_on_record"};
/// An alarm of a condition carries none of the clear attributes: once cleared it would come back only when
/// the condition changes.
const std::initializer_list<const char *> condition = {};

ParamRow alarm(eParam_t id, const char *name, std::initializer_list<const char *> policy, const char *help)
{
    return data(id, name, ParamDescriptor::Keep::Volatile, help).with({Attribute::alarm}).with(policy);
}

} // namespace

std::vector<ParamRow> alarmRows()
{
    return {
        alarm(eParam_AlarmMediaWriteFailed, "media_write_failed", event,
              "A recording could not be written to its medium."),
        alarm(eParam_AlarmClipNameExists, "clip_name_exists",
              {"clear_on_play_pressed", "clear_on_record_pressed"},
              "The name of the new clip is taken on the medium."),
        alarm(eParam_AlarmMediaReadFailed, "media_read_failed", event,
              "A clip could not be read from its medium."),
        alarm(eParam_AlarmFrameDropped, "frame_dropped", event,
              "A frame was lost in recording or came too late in playback."),
        alarm(eParam_AlarmLossOfVideoStillMissing, "loss_of_video_still_missing", event,
              "The still picture for a lost input is missing or does not fit."),
        alarm(eParam_AlarmMediaSlow, "media_slow", condition,
              "A medium is slower than what is recorded on it."),
        alarm(eParam_AlarmInputLostInRecord, "input_lost_in_record", event,
              "The input went away or changed during a recording."),
        alarm(eParam_AlarmOutputFailed, "output_failed", condition, "An output cannot be served."),
        alarm(eParam_AlarmAudioInputLost, "audio_input_lost", condition, "The sound of the input is gone."),
        alarm(eParam_AlarmReferenceMissing, "reference_missing", condition,
              "The chosen reference signal is not there."),
        // A setting, not something that begins during a take: it counts only for the next one, and nobody
        // has asked for that take before record is pressed.
        alarm(eParam_AlarmChannelsNeedEmbeddedAudio, "channels_need_embedded_audio",
              {"raise_on_record_pressed", "raise_on_record"},
              "Eight channels can only be recorded from embedded sound."),
        alarm(eParam_AlarmClockLate, "clock_late", condition, "The machine is too slow for the video clock."),
        alarm(eParam_AlarmReferenceNotLocked, "reference_not_locked", condition,
              "The output has not locked to the chosen reference signal."),
        alarm(eParam_AlarmVariableRate, "variable_rate", condition,
              "The camera's rate does not fit the recording."),
        alarm(eParam_AlarmMemoryExhausted, "memory_exhausted", condition,
              "The memory for pictures is used up."),
        alarm(eParam_AlarmLogOutputFailed, "log_output_failed", condition, "The log cannot be written."),
        alarm(eParam_AlarmSpare1, "spare_1", condition, "Not used."),
        alarm(eParam_AlarmSpare2, "spare_2", condition, "Not used."),
        alarm(eParam_AlarmSpare3, "spare_3", condition, "Not used."),
        alarm(eParam_AlarmLutError, "lut_error", condition, "The look-up table file cannot be used."),
        alarm(eParam_AlarmRecordInhibited, "record_inhibited", {"clear_on_record_pressed", "clear_on_record"},
              "A recording was asked for and cannot begin."),
        alarm(eParam_AlarmMediaFull, "media_full", condition,
              "A recording ended because its medium is full; cleared when the next one begins."),
        alarm(eParam_AlarmStoreRestored, "store_restored", condition,
              "The configuration store was damaged or removed and has been restored; look at the settings."),
        alarm(eParam_AlarmClipsRepaired, "clips_repaired", condition,
              "Clips that a crash or a power cut had left unfinished have been closed; until the next take."),
    };
}
