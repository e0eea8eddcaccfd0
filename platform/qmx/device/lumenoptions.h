// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/device/lumenboard.h"
#include "platform/qmx/device/pictureworkers.h"
#include "platform/qmx/edges/lumenprofile.h"
#include "platform/qmx/edges/qmxsink.h"
#include "platform/qmx/edges/qmxsource.h"

#include <functional>
#include <memory>
#include <optional>

/// What the software video card is made of: its profile and the makers of its edges. The defaults are the
/// tables of this framework. current() is what a card is made of that is not told otherwise; the main thread
/// may set it before the card exists.
struct LumenOptions
{
    using SourceMaker =
        std::function<std::unique_ptr<QmxSource>(const QString &locator, const QmxEnvironment &environment)>;
    using GeneratorMaker =
        std::function<std::unique_ptr<QmxSource>(const QmxImageDesc &desc, const QmxId &pattern,
                                                 const QmxId &tone, const QmxEnvironment &environment)>;
    using SinkMaker =
        std::function<std::unique_ptr<QmxSink>(const QString &locator, const QmxEnvironment &environment)>;

    std::optional<LumenProfile> profile; ///< none: read from QmxPlaces::profile
    SourceMaker createSource = qmxCreateSource;
    GeneratorMaker createGenerator = qmxCreateInternalGenerator;
    SinkMaker createSink = qmxCreateSink;
    CodecLookup codec;                 ///< none: the table's, as the profile says
    std::shared_ptr<LumenBoard> board; ///< none: a card of software alone

    /// The codecs of a card with this profile.
    CodecLookup codecsFor(const LumenProfile &used) const;

    static LumenOptions current();
    static void setCurrent(const LumenOptions &options);
};
