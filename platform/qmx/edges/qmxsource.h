// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxpicture.h"
#include "platform/qmx/core/qmxaudio.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxmetadatahash.h"
#include "platform/qmx/core/qmxtimecode.h"
#include "platform/qmx/core/qmxvideorefstate.h"
#include "platform/qmx/core/qmxvideostate.h"

#include <memory>
#include <optional>
#include <span>

/// One tick of the device's clock, as its sources and sinks see it.
struct QmxTick
{
    qint64 index = 0;    ///< ticks since the device started; consecutive but for missed ones
    qint64 deadline = 0; ///< the ideal moment of the tick (QmxClock time): free of jitter
    QmxVideoRate rate;   ///< rate at which the device ticks now
};

/// What a source delivers for one tick.
struct QmxSourceFrame
{
    QmxVideoState state; ///< signal as the source sees it now (not debounced; the device does that)
    QmxPicture picture;  ///< not valid: no picture (now)
    QmxAudio
        audio; ///< 16 channels; exactly the samples of this frame (see qmxAudioSamples()), silence included
    QmxTimecode timecode;     ///< timecode of the input signal; not valid: none
    QmxMetadataHash metadata; ///< ancillary items: 705, 706, 710
    /// State of the reference as the source's script plays it; nothing: the profile's word holds.
    std::optional<QmxVideoRefState> reference;
    qint64 repeated = 0;       ///< frames repeated so far by a live source's clock recovery
    qint64 skipped = 0;        ///< frames skipped so far
    qint64 torn = 0;           ///< pictures so far that came torn
    qint64 missing = 0;        ///< pictures so far that should have come and did not
    int damage = 0;            ///< torn or missing ones since the frame before
    bool soundMissing = false; ///< pictures come, but their sound, which came before, does not
};

/// An input of the software video card. Lives on the device's clock thread but for construction.
///
/// take() is called once a tick and must return within a millisecond or so: a source that reads, decodes
/// or waits does that on threads of its own, ahead of time. A source counts time by QmxTick::deadline, never
/// by the clock: at equal rates it delivers exactly one new frame a tick, none lost, none repeated.
class QmxSource
{
public:
    virtual ~QmxSource();
    virtual QmxSourceFrame take(const QmxTick &tick) = 0;
    /// One sentence for the operator: what it is and what is wrong with it, if anything is.
    virtual QString statusText() const = 0;
    /// Empty while nothing is known to be wrong, else the sentence. Any thread.
    virtual QString problem() const { return {}; }
};

/// One kind of source: a row of the table in sources.cpp.
struct QmxSourceRow
{
    const char *scheme; ///< "generator", "file", "none"; empty: any URL that libavformat opens
    const char *help;
    std::unique_ptr<QmxSource> (*create)(const QString &locator, const QmxEnvironment &environment);
};

std::span<const QmxSourceRow> qmxSources();
/// A source for a locator such as "generator:?rate=25" or "srt://host:9000". A locator that makes no sense
/// gives a source without signal whose statusText() says why; never null.
std::unique_ptr<QmxSource> qmxCreateSource(const QString &locator, const QmxEnvironment &environment);

/// Empty, or why a line of the profile gives no picture, as its own parser or the attempt to open it says.
/// What others may be using (addresses of the network, capture devices) is not opened. Takes up to a second.
QString qmxSourceProblem(const QString &locator, const QmxEnvironment &environment);

/// The generator as an internal source (695): pictures of the given description, pattern 800 to 802 and
/// tone 900 or 901 (not valid: black, silence). `lossAllowed` is false here: it never loses its signal.
std::unique_ptr<QmxSource> qmxCreateInternalGenerator(const QmxImageDesc &desc, const QmxId &pattern,
                                                      const QmxId &tone, const QmxEnvironment &environment);
