// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/alarmadvice.h"

#include "platform/store/eparammedia.h"

namespace {

struct Advice
{
    eParam_t id;
    const char *text;
};

constexpr Advice advices[] = {
    {eParam_AlarmMediaWriteFailed, "check or replace the medium; the clip holds everything up to there"},
    {eParam_AlarmClipNameExists, "change clip_base_name or take_number, or switch automatic_take on"},
    {eParam_AlarmMediaReadFailed, "check the medium; copy what can still be read from it"},
    {eParam_AlarmFrameDropped, "look at `xpctl watch` for a slow medium or late ticks; record again"},
    {eParam_AlarmLossOfVideoStillMissing, "install the stills: `xpctl doctor` says where they belong"},
    {eParam_AlarmMediaSlow, "end other work on the medium, or use a faster one or a smaller record_codec"},
    {eParam_AlarmInputLostInRecord, "check the input; what was recorded is whole up to there"},
    {eParam_AlarmOutputFailed, "check the output's address and what receives it"},
    {eParam_AlarmAudioInputLost, "check the sound of the source; silence is recorded meanwhile"},
    {eParam_AlarmReferenceMissing, "connect the reference, or set sync_source to internal"},
    {eParam_AlarmChannelsNeedEmbeddedAudio, "set audio_input to embedded, or audio_channels to two"},
    {eParam_AlarmClockLate, "end other work on this machine"},
    {eParam_AlarmReferenceNotLocked, "wait for the lock; if it does not come, check the reference's rate"},
    {eParam_AlarmVariableRate, "set the camera to a variable rate, or record_frame_mode to normal"},
    {eParam_AlarmMemoryExhausted,
     "end the playback or other work; if it comes back, the machine has too little memory"},
    {eParam_AlarmLogOutputFailed, "make room where the log is kept; recording goes on without it"},
    {eParam_AlarmSpare1, "not used"},
    {eParam_AlarmSpare2, "not used"},
    {eParam_AlarmSpare3, "not used"},
    {eParam_AlarmLutError, "choose another lut_file (`xpctl set lut_file FILE` says what is wrong with one), "
                           "or set lut_position to off"},
    {eParam_AlarmRecordInhibited, "see to what it names, then press record again"},
    {eParam_AlarmMediaFull, "put in another medium, or delete clips (`xpctl delete`)"},
    {eParam_AlarmStoreRestored, "look through the settings (`xpctl params`)"},
    {eParam_AlarmClipsRepaired, "nothing; look at the end of the clips that it names"},
};

} // namespace

std::string alarmAdvice(eParam_t id)
{
    for (const Advice &advice : advices)
        if (advice.id == id) return advice.text;
    return {};
}
