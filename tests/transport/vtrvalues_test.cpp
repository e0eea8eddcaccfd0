// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/print.h"
#include "xpd/transport/vtrstate.h"

#include <gtest/gtest.h>

#include <functional>

TEST(VtrSpeedFlags, fromSpeed_classifiesEverySpeedIntoWords)
{
    const std::pair<double, const char *> rows[] = {{0.0, "Valid Still"},       {1.0, "Valid Fwd Normal"},
                                                    {-1.0, "Valid Rev Normal"}, {0.5, "Valid Fwd Slow"},
                                                    {-0.5, "Valid Rev Slow"},   {3.0, "Valid Fwd Fast"},
                                                    {-2.0, "Valid Rev Fast"},   {1.0001, "Valid Fwd Fast"}};
    for (const auto &[speed, words] : rows)
        EXPECT_EQ(VtrSpeedFlags::fromSpeed(speed).toString(), words) << speed;
    EXPECT_EQ(VtrSpeedFlags().toString(), "");
    EXPECT_EQ(VtrSpeedFlags(8 | 16).toString(), "Bit3 Still");
    EXPECT_TRUE(VtrSpeedFlags::fromSpeed(1.0).isNormalForward());
    EXPECT_FALSE(VtrSpeedFlags::fromSpeed(-1.0).isNormalForward());
    EXPECT_FALSE(VtrSpeedFlags::fromSpeed(-4.0).isFastForward());
    EXPECT_TRUE(VtrSpeedFlags::fromSpeed(-4.0).isFastReverse());
}

TEST(VtrMode, name_isNullOutsideTheModes)
{
    EXPECT_STREQ(VtrMode(VtrMode::StandbyOff).name(), "StandbyOff");
    EXPECT_STREQ(VtrMode().name(), "Invalid");
    EXPECT_EQ(VtrMode::name(static_cast<VtrMode::Value>(5)), nullptr);
}

TEST(VtrState, defaultState_isStillInvalidAndStopsOnLoss)
{
    const VtrState state;
    EXPECT_FALSE(state.mode().isValid());
    EXPECT_TRUE(state.speedFlags().isStill());
    EXPECT_EQ(state.audioChans(), 2);
    EXPECT_EQ(state.recordInterval(), 1);
    EXPECT_TRUE(state.stopOnLossOfVideo());
    EXPECT_FALSE(state.stopOnFrameDrop());
    EXPECT_EQ(state.toString(), "0.000 Invalid ");
}

TEST(VtrState, everyChange_makesStatesDifferentButStopOnLossOfVideo)
{
    QmxImageDesc format;
    format.setSize(1280, 720);
    const QmxImageLut lut(QmxId(1100), 1024);
    const QmxId id(801);
    const std::function<void(VtrState &)> changes[] = {
        [](VtrState &s) { s.setMode(VtrMode::Play); },
        [](VtrState &s) { s.setSpeed(-2.0); },
        [](VtrState &s) { s.setLooping(true); },
        [](VtrState &s) { s.setAudioChans(8); },
        [](VtrState &s) { s.setRecordInterval(2); },
        [](VtrState &s) { s.setRecordIntervalTime(1); },
        [](VtrState &s) { s.setIntervalRecordEnable(true); },
        [&](VtrState &s) { s.setEncodeFormat(id); },
        [&](VtrState &s) { s.setVideoOutputType(id); },
        [&](VtrState &s) { s.setVideoInputSource(id); },
        [&](VtrState &s) { s.setAudioInputSource(id); },
        [&](VtrState &s) { s.setAudioInputLevel(id); },
        [&](VtrState &s) { s.setSyncSource(id); },
        [&](VtrState &s) { s.setCameraInput(id); },
        [&](VtrState &s) { s.setVideoSignalGenMode(id); },
        [&](VtrState &s) { s.setAudioSignalGenMode(id); },
        [&](VtrState &s) { s.setVideoSignalGenFormat(format); },
        [&](VtrState &s) { s.setInputLut(lut); },
        [&](VtrState &s) { s.setOutputLut(lut); },
        [&](VtrState &s) { s.setVideoInConvert(id); },
        [&](VtrState &s) { s.setVideoOutConvert(id); },
        [&](VtrState &s) { s.setSuperOut(id); },
        [&](VtrState &s) { s.setVideoOutputRoute(id); },
        [](VtrState &s) { s.setForcePSFOutput(true); },
        [](VtrState &s) { s.setForcePSFEncode(true); },
        [](VtrState &s) { s.setVFREnabled(true); },
        [](VtrState &s) { s.setStopOnFrameDrop(true); },
        [](VtrState &s) { s.setVideoOutputSDILevelA(true); },
        [](VtrState &s) { s.setVideoInputIgnoreANC(true); },
        [&](VtrState &s) { s.setHdmiOutputMode(id); },
    };
    const VtrState original;
    VtrState all;
    for (size_t i = 0; i < std::size(changes); ++i) {
        VtrState changed = original;
        EXPECT_FALSE(changed != original);
        changes[i](changed);
        EXPECT_TRUE(changed != original) << "change " << i;
        // Each setter has a field of its own: on top of all changes before, this one still counts.
        const VtrState before = all;
        changes[i](all);
        EXPECT_TRUE(all != before) << "change " << i;
    }
    EXPECT_FALSE(original != VtrState()) << "a copy's change went through to the original";

    VtrState lossOnly;
    lossOnly.setStopOnLossOfVideo(false);
    EXPECT_FALSE(lossOnly != original);
    EXPECT_FALSE(lossOnly.stopOnLossOfVideo());
    EXPECT_TRUE(all.speedFlags().isFastReverse());
    EXPECT_EQ(all.toString(), "-2.000 Play ");
}

TEST(VtrState, registerMetaTypes_letsStatesTravelByName)
{
    registerMetaTypes();
    EXPECT_TRUE(QMetaType::fromName("VtrState").isValid());
}
