// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/control.h"
#include "platform/control/deckparts.h"
#include "platform/control/ownership.h"

#include "tests/support/print.h"
#include "tests/support/testfiles.h"

#include "platform/store/alarmvalue.h"
#include "platform/store/eparamcontrol.h"
#include "platform/store/eparamreplay.h"

#include <QJsonDocument>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <set>

TEST(Verbs, everyRowIsWholeAndChecksItsArguments)
{
    CreateDescriptors();
    std::set<QString> codes;
    for (const AnswerCodeRow &row : answerCodes())
        EXPECT_TRUE(codes.insert(row.code).second && *row.meaning) << row.code;
    const QRegularExpression nameForm("^[a-z]+(_[a-z]+)*$");
    for (const VerbRow &row : verbs()) {
        SCOPED_TRACE(row.name);
        EXPECT_TRUE(nameForm.match(row.name).hasMatch());
        EXPECT_EQ(findVerb(row.name), &row) << "twice";
        EXPECT_TRUE(row.run && *row.help && *row.effect);
        for (const QString &name : QString(row.writes).split(' ', Qt::SkipEmptyParts))
            EXPECT_TRUE(FindDescriptor(name.toStdString())) << name.toStdString();
        for (const QString &code : QString(row.refusals).split(' '))
            EXPECT_TRUE(codes.contains(code)) << code.toStdString();
        Request request;
        request.verb = row.name;
        request.arguments["no_such_argument"] = "1";
        EXPECT_EQ(wrongArguments(row, request)->code, "wrong_argument");
        request.arguments.clear();
        for (const VerbArgument &argument : row.arguments)
            EXPECT_TRUE(!argument.isRequired || wrongArguments(row, request)) << argument.name;
        for (const VerbArgument &argument : row.arguments) {
            const bool isNumber =
                argument.type == VerbArgument::Type::Integer || argument.type == VerbArgument::Type::Number;
            request.arguments[argument.name] =
                isNumber ? QString::number(argument.maximum, 'g', 17) : QString("10:00:00:00");
        }
        EXPECT_FALSE(wrongArguments(row, request));
        for (const VerbArgument &argument : row.arguments) {
            Request wrong = request;
            const bool isNumber =
                argument.type == VerbArgument::Type::Integer || argument.type == VerbArgument::Type::Number;
            for (const QString &text :
                 isNumber ? QStringList{"x", "nan", "inf", "", QString::number(argument.maximum + 1, 'f', 0)}
                 : argument.type == VerbArgument::Type::Place ? QStringList{"x", "-1", "99:99:99:99"}
                                                              : QStringList{QString(QChar(0))}) {
                wrong.arguments[argument.name] = text;
                EXPECT_TRUE(wrongArguments(row, wrong)) << argument.name << " " << text.toStdString();
            }
        }
    }
    std::set<QString> names;
    for (const DeckField &field : deckFields())
        EXPECT_TRUE(names.insert(field.name).second && *field.help) << field.name;
    // One name everywhere: what `xpctl status` tells stands in the state under the same name, but for what it
    // asks of the card.
    const QSet<QString> ofTheShell = {"input",        "input_present", "output_format",
                                      "output_peaks", "loop_playback", "figures_age"};
    const QJsonObject schema = QJsonDocument::fromJson(readAll(XP_ROOT "/docs/xpctl.schema.json")).object();
    const QJsonObject status = schema["$defs"].toObject()["status"].toObject()["properties"].toObject();
    for (const QString &name : status.keys())
        EXPECT_NE(names.contains(name), ofTheShell.contains(name)) << name.toStdString();
}

TEST(Ownership, endsWithItsTimeAndNeverBeforeIt)
{
    const Ownership::Hold hold{
        {"anna", "http", "192.0.2.7", "http/account/anna"}, 1000, 61000, std::chrono::seconds(60)};
    const QString text = QString::fromUtf8(QJsonDocument(hold.toJson()).toJson());
    const auto read = Ownership::Hold::parse(text, 60999);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->who.text(), "anna (http, 192.0.2.7)");
    EXPECT_EQ(read->who.identity(), "http/account/anna");
    EXPECT_EQ(read->until, 61000);
    EXPECT_FALSE(Ownership::Hold::parse(text, 61000));
    for (const char *none : {"", "{}", "[]", "x", "{\"until\":\"x\"}"})
        EXPECT_FALSE(Ownership::Hold::parse(none, 0)) << none;
    EXPECT_FALSE((Who{"a", "shell", "", ""}).isNetwork());
    EXPECT_TRUE((Who{"a", "somewhere", "", ""}).isNetwork()) << "nobody knows it: with care";
}

TEST(DeckState, tellsTheSpeedThatWasAskedForWhenTheStatusFits)
{
    CreateDescriptors();
    struct Row
    {
        unsigned status;
        const char *asked;
        double speed;
    };
    const Row rows[] = {{3, "0.5", 0.5}, {3, "1", 1},   {3, "-1", 1}, {9, "-0.5", -0.5},
                        {9, "1", -1},    {15, "1", 0},  {1, "1", 0},  {4, "2", 2},
                        {5, "1", 4},     {12, "1", -8}, {4, "3", 3}};
    for (const Row &row : rows) {
        DeckParameters parameters;
        parameters.set(eParam_TransportSpeed, StoreValue::fromString(row.asked));
        parameters.set(eParam_TransportStatus, StoreValue::fromUnsigned(row.status));
        const DeckState state = parameters.state(true, 0);
        EXPECT_EQ(state.speed, row.speed) << row.status << " " << row.asked;
        DeckState later = state;
        later.tick = 7;
        EXPECT_EQ(later.changesSince(state), (QJsonObject{{"tick", 7}}));
    }
}

TEST(DeckState, isMadeAnewWhereSomethingHasChanged)
{
    CreateDescriptors();
    DeckParameters parameters;
    DeckState before = parameters.state(true, 0);
    EXPECT_TRUE(before.marksChanged.isEmpty());
    const auto changes = [&](eParam_t id, const StoreValue &value, qint64 now = 0) {
        parameters.set(id, value);
        const DeckState state = parameters.state(true, now);
        return state.changesSince(std::exchange(before, state));
    };
    for (const int count : {1, 2})
        EXPECT_EQ(changes(eParam_MarksChanged, StoreValue::fromString("a.mov")),
                  (QJsonObject{{"marks_changed", QJsonObject{{"clip", "a.mov"}, {"count", count}}}}));
    EXPECT_EQ(changes(eParam_RecordTimeLeft, StoreValue::fromUnsigned(7)),
              (QJsonObject{{"medium_seconds_left", 7}}));
    EXPECT_EQ(changes(eParam_TransportStatus, StoreValue::fromUnsigned(2))["status"], "recording");
    for (const std::string &raised : {alarmValue(AlarmSeverity::Error, "no input"), std::string()})
        EXPECT_EQ(changes(eParam_AlarmRecordInhibited, StoreValue::fromData(raised))["alarms"],
                  raised.empty() ? 0 : 1);
    const Ownership::Hold hold{{"anna", "http", "", ""}, 1000, 61000, std::chrono::seconds(60)};
    const auto text = QJsonDocument(hold.toJson()).toJson().toStdString();
    EXPECT_TRUE(changes(eParam_ControlOwner, StoreValue::fromString(text), 2000)["owner"].isObject());
    EXPECT_TRUE(parameters.state(true, 61000).owner.isEmpty()) << "by time alone";
}
