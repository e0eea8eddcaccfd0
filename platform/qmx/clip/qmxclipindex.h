// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/movfragment.h"
#include "platform/qmx/clip/movmovie.h"
#include "platform/qmx/clip/qmxclipinfo.h"

/// Where every frame and its sound stand in a file that needs no demultiplexer: our own clips in any state,
/// and foreign QuickTime files whose frames stand alone and whose sound is PCM. One thread.
class QmxClipIndex
{
public:
    struct Frame
    {
        qint64 offset = 0;
        quint32 size = 0; ///< 0: lost to damage
    };
    struct Chunk
    {
        qint64 firstSample = 0;
        qint64 offset = 0;
        qint64 samples = 0;
    };
    /// One sound track.
    struct Sound
    {
        int channels = 0;
        MovPcm::Form form;
        qint64 shift = 0; ///< sample that belongs to the first frame
        std::vector<Chunk> chunks;
        int frameBytes() const { return channels * form.bytes(); }
    };

    /// Reads the file's tables. EILSEQ: it is no clip or too damaged; ENOTSUP: another demultiplexer is
    /// needed; ENODATA: no frames. Without `tables` only `info` is filled in.
    QmxError load(MovInput &input, bool tables);
    /// For a clip that is not closed: what has been added since.
    QmxError refresh(MovInput &input);

    QmxClipInfo info;
    std::vector<Frame> frames;
    std::vector<Sound> sounds;
    int soundPhase = 0; ///< frame of the cadence of samples with which the clip begins

    /// The checksum of a picture, when the clip has one: only our own have. It is read from the slot that
    /// stands before the pictures of its fragment.
    std::optional<quint32> crc(MovInput &input, qint64 frame);
    bool isOwn() const { return _own; }
    /// For whoever finishes the file: what the slots say, and where the open slot stands.
    const std::vector<MovFragment> &fragments() const { return _fragments; }
    /// Bytes of a sample of all channels of our own clips.
    int soundFrameBytes() const { return _format.audioFrameBytes(); }
    qint64 openSlot() const { return _nextSlot; }
    const MovMovie &movie() const { return _movie; }
    /// Keeps the fragments while loading.
    void setKeepFragments(bool keep) { _keepFragments = keep; }
    /// Goes by the slots of a closed clip too, whatever its moov says.
    void setOnlySlots(bool only) { _onlySlots = only; }

private:
    enum class Place { Growing, Closed, Foreign };
    QmxError identify(MovInput &input, Place &place, qint64 &moov);
    QmxError loadOwn(MovInput &input, Place place, qint64 moov, bool tables);
    QmxError loadFinal(MovInput &input, qint64 moov, bool tables);
    QmxError loadForeign(MovInput &input, bool tables);
    QmxError describe(MovInput &input);
    QmxError describeSound(MovInput &input);
    QmxError placeSounds(MovInput &input);
    QmxError walk(MovInput &input);
    QmxError readSlot(MovInput &input, std::optional<MovFragment> &fragment, bool &isOpen);
    void append(const MovFragment &fragment, MovInput &input);
    bool loadByNewest(MovInput &input, const std::vector<qint64> &marks);
    bool findSlot(MovInput &input, qint64 from, MovFragment &fragment);
    QmxError readTimecodes(MovInput &input);
    void addRun(qint64 frame, quint32 value);
    const MovMovie::Track *timecodeTrack() const;

    bool _own = false;
    bool _keepFragments = false;
    bool _onlySlots = false;
    MovMovie _movie;
    MovFormat _format; ///< of a growing clip, as far as its slots need it
    qint64 _nextSlot = 0;
    quint32 _nextSequence = 1;
    qint64 _lost = 0;     ///< frames that have a place and cannot be read
    qint64 _searched = 0; ///< bytes
    std::vector<MovFragment> _fragments;
    qint64 _crcFirst = 0; ///< frame of the first of _crcs
    std::vector<quint32> _crcs;
};
