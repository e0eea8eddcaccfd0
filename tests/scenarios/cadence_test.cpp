// SPDX-License-Identifier: GPL-3.0-or-later
// Speeds by chance, one after the other, through the whole recorder: what the output shows tick by tick.
#include "tests/scenarios/recorderrig.h"
#include "tests/scenarios/shuttlemodel.h"

#include <random>

namespace {

constexpr int speeds = 200;
/// Ticks until a new speed has come through: command, flush, the first pictures of the new run.
constexpr int latency = 3;

/// Where the output may stand in a run that began on the frame `from`, which was on the output then.
struct ShownRun
{
    qint64 from = 0;
    QList<qint64> rest; ///< what comes after it
    qsizetype due = 0;  ///< ticks that it is there for, the one before the run included
    qsizetype seen = 0; ///< of those
    qsizetype next = 0; ///< in `rest`

    ShownRun(qint64 frame, const ShuttleModel &model, int ticks) : from(frame)
    {
        const QList<qint64> all = model.run(frame, ticks + latency + 2);
        while (due < all.size() && all.at(due) == frame)
            ++due;
        rest = all.mid(due);
    }

    /// Whether the run goes on with these.
    bool takes(const QList<qint64> &frames)
    {
        for (const qint64 frame : frames) {
            if (next == 0 && frame == from && (rest.isEmpty() || seen < due + latency))
                ++seen;
            else if (next < rest.size() && frame == rest.at(next) && seen + 1 >= due)
                ++next;
            else
                return false;
        }
        return true;
    }
};

class CadenceScenario : public RecorderRig
{
protected:
    QList<qint64> frames()
    {
        QList<qint64> numbers;
        for (const Shown &one : takeShown()) {
            EXPECT_EQ(one.strip, take.strips.value(one.frame, -2)) << "frame " << one.frame;
            numbers.append(one.frame);
        }
        return numbers;
    }

    int draw(int from, int to) { return std::uniform_int_distribution<int>(from, to)(dice); }

    /// In 64ths; as often one that shows its steps as one that leaps.
    int drawSpeed()
    {
        const int limit = draw(0, 1) ? 3 * 64 : 100 * 64;
        int speed = 0;
        while (speed == 0)
            speed = draw(-limit, limit);
        return speed;
    }

    Take take;
    std::mt19937 dice{64};
};

} // namespace

TEST_F(CadenceScenario, twoHundredSpeedsOverEndsAndLoopsShowWhatTheRuleSays)
{
    begin();
    write(eParam_RecordCodec, "3"); // the smallest
    take = Take::read(record(16'000));
    take.expectWhole();
    enterStill();
    takeShown();

    constexpr int still = 0;
    const auto standingAt = [this](qint64 frame) {
        return QList<ShownRun>{ShownRun(frame, {take.frames(), still, false}, 1)};
    };
    QList<ShownRun> runs = standingAt(0);
    bool isLooping = false;
    int before = 0;
    for (int i = 0; i < speeds; ++i) {
        // Most of the time speed follows speed; now and then the place is a new one.
        if (draw(0, 5) == 0) {
            const int place = draw(0, take.frames() - 1);
            cueAndWait(place);
            passTicks(3);
            frames();
            runs = standingAt(place);
            isLooping = draw(0, 1) == 1;
            write(eParam_LoopPlayback, QString::number(isLooping));
        }
        int sixtyFourths = drawSpeed();
        while (sixtyFourths == before)
            sixtyFourths = drawSpeed();
        before = sixtyFourths;
        const int ticks = draw(12, 40);
        speed(QString::number(sixtyFourths / 64.0, 'g', 12));
        passTicks(ticks);
        const QList<qint64> seen = frames();

        // The run before may go on for some ticks; the new one begins on the frame that it has come to.
        QList<ShownRun> possible;
        for (const ShownRun &run : std::as_const(runs)) {
            ShownRun old = run;
            for (int k = 0; k <= latency && k < seen.size(); ++k) {
                if (k > 0 && !old.takes({seen.at(k - 1)})) break;
                const qint64 from = old.next > 0 ? old.rest.at(old.next - 1) : old.from;
                ShownRun begun(from, {take.frames(), sixtyFourths, isLooping}, ticks);
                begun.seen = 1;
                if (begun.takes(seen.mid(k))) possible.append(begun);
            }
        }
        QStringList numbers;
        for (const qint64 frame : seen)
            numbers << QString::number(frame);
        ASSERT_FALSE(possible.isEmpty())
            << "speed " << i << ", " << sixtyFourths << "/64, looping " << isLooping << ", after frame "
            << runs.first().from << ": " << numbers.join(' ').toStdString();
        runs = possible;
    }
    EXPECT_EQ(counter(QmxCounters::FramesDroppedPlayback), 0);
}
