// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/print.h"
#include "xpd/transport/vtrstate.h"

#include <gtest/gtest.h>

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

TEST(VtrState, aCopyIsItsOwnAndStopOnLossOfVideoIsNoDifference)
{
    const VtrState original;
    VtrState copy = original;
    copy.setStopOnLossOfVideo(false);
    EXPECT_FALSE(copy != original);
    EXPECT_FALSE(copy.stopOnLossOfVideo());
    copy.setMode(VtrMode::Play);
    copy.setSpeed(-2.0);
    EXPECT_TRUE(copy != original);
    EXPECT_FALSE(original != VtrState()) << "a copy's change went through to the original";
    EXPECT_TRUE(copy.speedFlags().isFastReverse());
    EXPECT_EQ(copy.toString(), "-2.000 Play ");
}

TEST(VtrState, registerMetaTypes_letsStatesTravelByName)
{
    registerMetaTypes();
    EXPECT_TRUE(QMetaType::fromName("VtrState").isValid());
}
