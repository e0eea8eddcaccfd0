// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/movpictureproof.h"
#include "platform/qmx/codec/qmxpicture.h"
#include "platform/qmx/core/qmxframe.h"
#include "platform/qmx/core/qmxtimecode.h"

#include <memory>

/// One captured frame on its way from the source to the reader. Guarded by whoever guards its queue.
struct CapturedFrame
{
    enum Coding { Raw, Queued, Coded };
    /// In the memory for a take to come; or it was, and no take has got it.
    enum Memory { New, Remembered, Forgotten };

    qint64 number = 0;  ///< tick of its capture
    QmxImageDesc desc;  ///< format of the set-up
    QmxPicture picture; ///< not valid: no picture; may go once it is coded
    bool hasPicture = false;
    bool waitsForWork = false; ///< input conversion and table have not been applied yet
    Coding coding = Raw;
    QmxBuffer coded;
    MovSharedProofPtr proof; ///< of what is coded; in a take it is known by then
    QmxAudio audio;          ///< not valid and without description: none wanted
    QmxTimecode timecode;
    QmxMetadataHash metadata;
    bool afterGap = false; ///< a frame was lost right before it
    Memory remembered = New;
    qint64 rawWeight = 0; ///< bytes that the memory counts for it: a picture, and what is kept of it
    qint64 keptWeight = 0;

    /// What the reader gets. A picture that has not been coded is valid and has no bytes.
    QmxFrame toFrame() const;
};
using CapturedFramePtr = std::shared_ptr<CapturedFrame>;
