// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// Every alarm of a recorder. X: an alarm of the framework or the transport, with its identifier's number (in
/// rising order); Y: one that another program raises in the store alone. Then the parameter's name, the
/// policy (AlarmPolicy in platform/store/alarms.h), the levels that it is raised with, what it means, why it
/// comes and goes as it does, what an operator can do. A new alarm is a new row, and its parameter
/// (eParam_Alarm and the row's first word) in platform/store/eparam.h.
// clang-format off
#define QMX_ALARMS(X, Y) \
    X(MediaWriteFailed, 1901, "media_write_failed", News, "error", \
      "A recording could not be written to its medium.", \
      "open, write or close failed; the next take must be able to tell its own", \
      "check or replace the medium; a clip that is there is whole up to that moment") \
    X(ClipNameExists, 1902, "clip_name_exists", NextName, "error", \
      "The name of the new clip is taken on the medium.", \
      "the name is fixed; record begun does not clear it: the transport itself does with the next name that is free", \
      "change clip_base_name or take_number, or switch automatic_take on") \
    X(MediaReadFailed, 1903, "media_read_failed", News, "warning", \
      "A clip could not be read from its medium.", \
      "news; also cleared when the clip reads again", \
      "check the medium; copy what can still be read from it") \
    X(FrameDropped, 1904, "frame_dropped", News, "warning, error", \
      "A frame was lost in recording or came too late in playback.", \
      "in a take an error, it ends; never cleared by the transport", \
      "look at `xpctl watch` for a slow medium or late ticks; record again") \
    X(LossOfVideoStillMissing, 1905, "loss_of_video_still_missing", News, "error", \
      "The still picture for a lost input is missing or does not fit.", \
      "news", \
      "install the stills: `xpctl doctor` says where they belong") \
    X(MediaSlow, 1906, "media_slow", Condition, "warning", \
      "A medium is slower than what is recorded on it.", \
      "half of the take's queue waits for the medium; cleared when the queue is empty", \
      "end other work on the medium, or use a faster one or a smaller record_codec") \
    X(InputLostInRecord, 1907, "input_lost_in_record", News, "warning, error", \
      "The input went away or changed during a recording.", \
      "news", \
      "check the input; what was recorded is whole up to there") \
    X(OutputFailed, 1908, "output_failed", Condition, "warning", \
      "An output cannot be served.", \
      "it cannot be opened or written; cleared when pictures go out again", \
      "check the output's address and what receives it") \
    X(AudioInputLost, 1909, "audio_input_lost", Condition, "warning", \
      "The sound of the input is gone.", \
      "it had been there and the pictures still are: makes a take worthless, so it is shown before the take too", \
      "check the sound of the source; silence is recorded meanwhile") \
    X(ReferenceMissing, 1910, "reference_missing", Condition, "error", \
      "The chosen reference signal is not there.", \
      "looked at every second", \
      "connect the reference, or set sync_source to internal") \
    X(ChannelsNeedEmbeddedAudio, 1911, "channels_need_embedded_audio", BeforeTake, "error", \
      "Eight channels can only be recorded from embedded sound.", \
      "a setting: it counts only for the next take, and nobody has asked for that before record is pressed", \
      "set audio_input to embedded, or audio_channels to two") \
    X(ClockLate, 1912, "clock_late", Condition, "warning", \
      "The machine is too slow for the video clock.", \
      "a condition", \
      "end other work on this machine") \
    X(ReferenceNotLocked, 1913, "reference_not_locked", Condition, "error", \
      "The output has not locked to the chosen reference signal.", \
      "looked at every second", \
      "wait for the lock; if it does not come, check the reference's rate") \
    X(VariableRate, 1914, "variable_rate", Condition, "error", \
      "The camera's rate does not fit the recording.", \
      "variable rate is set and the camera's rate does not vary", \
      "set the camera to a variable rate, or record_frame_mode to normal") \
    X(MemoryExhausted, 1915, "memory_exhausted", Condition, "error", \
      "The memory for pictures is used up.", \
      "cleared when a tenth is free again", \
      "end the playback or other work; if it comes back, the machine has too little memory") \
    X(LogOutputFailed, 1916, "log_output_failed", Condition, "warning", \
      "The log cannot be written.", \
      "the recorder goes on", \
      "make room where the log is kept; recording goes on without it") \
    X(InputDamaged, 1917, "input_damaged", Condition, "warning", \
      "Pictures of the input come torn, or not at all.", \
      "told once, with the rate of a second; cleared after ten seconds without damage", \
      "check the sender, its network and its cable") \
    X(PictureDamaged, 1918, "picture_damaged", Condition, "warning", \
      "A picture that is played cannot be decoded.", \
      "cleared when pictures can be shown again", \
      "the clip is damaged or coded in an unknown way; play another copy of it") \
    X(MirrorLost, 1919, "mirror_lost", Condition, "warning", \
      "A take that was to be on two media is on one only; until the next take.", \
      "one copy could not be begun or written on; cleared when the next take begins, since it can begin with the take", \
      "check or replace the medium that it names; the take goes on in the other copy, and this one is completed when the medium is back") \
    X(LutError, 1920, "lut_error", Condition, "error", \
      "The look-up table file cannot be used.", \
      "a condition of a setting; cleared by the next good file or position", \
      "choose another lut_file (`xpctl set lut_file FILE` says what is wrong with one), or set lut_position to off") \
    X(RecordInhibited, 1921, "record_inhibited", NextRecord, "error", \
      "A recording was asked for and cannot begin.", \
      "about record alone: playing in between does not answer it", \
      "see to what it names, then press record again") \
    X(StartLate, 1922, "start_late", Condition, "warning", \
      "A take that was to begin with an exact frame has begun behind it; until the next take.", \
      "the command came when that frame was no longer in memory; cleared when the next take begins", \
      "set pre_record to more seconds than commands come late; the clip holds everything from its first frame on") \
    Y(MediaFull, "media_full", Condition, "error", \
      "A recording ended because its medium is full; cleared when the next one begins.", \
      "the media daemon raises and clears it", \
      "put in another medium, or delete clips (`xpctl delete`)") \
    Y(StoreRestored, "store_restored", Condition, "warning", \
      "The configuration store was damaged or removed and has been restored; look at the settings.", \
      "the store raises it and clears it at the next start", \
      "look through the settings (`xpctl params`)") \
    Y(StoreFull, "store_full", Condition, "error", \
      "The disk of the configuration store is full: the room kept for its last writes is in use.", \
      "the store raises it and clears it when there is room again", \
      "make room on the disk that it names; settings are still kept, for a while") \
    Y(StoreRefused, "store_refused", Condition, "warning", \
      "Something that the media daemon had to tell was not taken by the store; until the next take.", \
      "the media daemon raises and clears it", \
      "nothing; `xpctl get` shows an old value of what it names") \
    Y(ClipsRepaired, "clips_repaired", Condition, "information", \
      "Clips that a crash or a power cut had left unfinished have been closed; until the next take.", \
      "the media daemon raises and clears it", \
      "nothing; look at the end of the clips that it names") \
    Y(MediumRefused, "medium_refused", Condition, "error", \
      "A medium was chosen that is not there, or during a take.", \
      "the media daemon puts the old one back, and clears it with the next good choice or take", \
      "choose one that `xpctl media` lists, when no take runs: xpctl set active_media_path") \
    Y(ScheduledTake, "scheduled_take", Condition, "error", \
      "A take of the schedule should run and does not.", \
      "the media daemon raises it, and clears it when the take has begun or its time is over", \
      "do what it names; or cancel the take (`xpctl schedule`)")
// clang-format on
