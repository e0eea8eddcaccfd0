// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/eparam.h"
#include "platform/store/paramrow.h"
#include "platform/store/values.h"

std::vector<ParamRow> mediaRows()
{
    using enum ParamDescriptor::Keep;
    return {
        // After a rollover the transport has swapped the two paths by itself; the media daemon's answer must
        // reach it also when the store holds that value already.
        string(eParam_ActiveMediaPath, "active_media_path", Volatile,
               "Folder of the medium that is recorded on and played from; empty: none.")
            .with({Attribute::everyWrite, Attribute::folder}),
        string(eParam_RolloverMediaPath, "rollover_media_path", Volatile,
               "Folder of the medium on which a recording goes on when the active one is full; empty: none.")
            .with({Attribute::everyWrite, Attribute::folder}),
        string(eParam_MirrorMediaPath, "mirror_media_path", Persistent,
               "Folder on a second medium that takes are written to as well; empty: none.")
            .with({Attribute::folder}),
        string(
            eParam_MirrorPending, "mirror_pending", Persistent,
            "Clips of takes on two media that are not known to be whole on both, as JSON: \"clip\", \"one\" "
            "and \"other\" (folders); the media daemon completes them when no take runs.")
            .with({Attribute::told}),
        enumeration(eParam_StorageState, "storage_state", Volatile,
                    {{StorageState::Unknown, "unknown"},
                     {StorageState::InUse, "in_use"},
                     {StorageState::Released, "released"},
                     {StorageState::RolloverDone, "rollover_done"}},
                    "Whether the transport uses the media; rollover_done asks the media daemon to take note.")
            .with({Attribute::everyWrite, Attribute::told}),
        string(eParam_MediaLabel, "media_label", Volatile, "Label of the active medium."),
        number(eParam_MediaLoading, "media_loading", Command,
               "Tells that a medium is being looked at (any value)."),
        number(eParam_ListingWanted, "listing_wanted", Command,
               "Tells the media daemon that the transport missed a listing of the clips (any value)."),
        string(eParam_ReelNumber, "reel_number", Persistent,
               "Reel that new clips carry; filled up with 0 to three characters.")
            .defaults("001"),
        string(eParam_RolloverReelName, "rollover_reel_name", Persistent,
               "Reel that clips on the rollover medium carry."),
        string(eParam_CurrentClip, "current_clip", Persistent,
               "File name of the clip that is played or was recorded last; N/A: none.")
            .defaults(noClip)
            .with({Attribute::clipName}),
        number(eParam_CurrentPlayListIndex, "current_play_list_index", Volatile,
               "Place of the current clip in the list in use, counted from 0.")
            .with({Attribute::told}),
        string(eParam_ClipNamePattern, "clip_name_pattern", Persistent,
               "How new clips are named: any text with {name}, {take}, {reel}, {date} and {time} in it.")
            .defaults("{name}_{take}")
            .with({Attribute::namePattern}),
        string(eParam_ClipBaseName, "clip_base_name", Persistent, "What {name} stands for in new clip names.")
            .defaults("take")
            .with({Attribute::fileName}),
        number(eParam_TakeNumber, "take_number", Persistent,
               "What {take} stands for in the next clip name; counts up with every take.")
            .defaults(1)
            .range(1, 999999),
        boolean(eParam_AutomaticTake, "automatic_take", Persistent,
                "On: a taken name goes on to the next free take. Off: a taken name is refused.")
            .defaults(1),
        string(eParam_PlayList, "play_list", Persistent,
               "File names of the play list, one a line, in the order in which they are played.")
            .with({Attribute::multiLine, Attribute::clipName}),
        string(eParam_MediaOrder, "media_order", Command,
               "What the media daemon shall do with a clip, as JSON: id, verb (copy, delete, protect, "
               "unprotect, rename, verify), "
               "clip, from, to. `xpctl copy` and its like write it.")
            .with({Attribute::order}),
        string(eParam_MediaOrderState, "media_order_state", Volatile,
               "How far the media daemon is with an order, as JSON: id, state, percent, text, report.")
            .with({Attribute::everyWrite, Attribute::told}),
        string(eParam_MediaReport, "media_report", Volatile,
               "All media with their room, clips and remaining record time, as JSON; `xpctl media` shows it.")
            .with({Attribute::told}),
        number(eParam_RecordTimeLeft, "record_time_left", Volatile,
               "How long a take can still become, over all media that it can go on to; 0: not known or none.")
            .in("s")
            .with({Attribute::told}),
    };
}
