// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/remote/deck/deckview.h"
#include "companions/remote/ninepin/ninepinblock.h"
#include "companions/remote/ninepin/ninepineditpoints.h"
#include "companions/remote/ninepin/ninepintime.h"

#include <chrono>
#include <functional>
#include <optional>
#include <span>

/// What an operator decides about a 9-pin port.
struct NinepinOptions
{
    std::uint16_t deviceType525 = 0x2025; ///< told while timecodes count 30 or 60 frames
    std::uint16_t deviceType625 = 0x2125;
    bool mayRecord = false;
    int editDelay = 5;               ///< frames from the command to the frame on which edit on and off act
    std::chrono::seconds preroll{5}; ///< until an editor presets its own
};

/// One controller's deck: answers blocks out of a moment's view and tells what the deck has to do. Follows
/// what it has asked for (a cue, an edit) by looking at each further view.
///
/// No clock, no thread, no store: view and time are arguments. One thread.
class NinepinSession
{
public:
    using Give = std::function<void(const DeckOrder &)>;

    NinepinSession(const NinepinOptions &options, Give give);

    /// The whole reply to a good block. Who may not operate gets answers to questions alone.
    QByteArray answer(const NinepinBlock &block, const DeckView &view, qint64 now, bool mayOperate = true);
    /// Before every answer and at least once a frame: what has happened since.
    void look(const DeckView &view, qint64 now);
    /// How an order ended that was given by this session.
    void answered(const DeckAnswer &answer);

    /// The ten status bytes.
    std::array<std::uint8_t, 10> status(const DeckView &view) const;

    /// For tables of commands: which group a block belongs to decides what local mode refuses.
    enum class Kind : std::uint8_t { System, Motion, Preset, Sense };
    struct Row
    {
        std::uint8_t group;
        std::uint8_t command;
        std::uint8_t least, most; ///< data bytes
        Kind kind;
        const char *meaning;
        QByteArray (NinepinSession::*answer)(); ///< null: understood, and there is nothing to do
    };
    static std::span<const Row> rows();
    /// A command that is known and asks for more than an answer.
    static bool isCommand(const NinepinBlock &block);

private:
    enum class Mode : std::uint8_t { None, Play, Jog, Variable, Shuttle, FastForward, Rewind };
    enum class Cue : std::uint8_t { None, Running, Complete, Failed };
    enum class Edit : std::uint8_t { None, Armed, Recording, Ending };
    /// An edit by itself: to IN - preroll, through IN and OUT, a little further.
    enum class Sequence : std::uint8_t { None, Preview, Review, Edit };

    static const Row *find(const NinepinBlock &block);
    std::uint8_t data(int i) const { return _block->data[std::size_t(i)]; }
    std::span<const std::uint8_t, 4> time() const;
    QmxTimecode timeOfBlock() const;
    quint64 give(const char *verb, const QMap<QString, QString> &arguments = {}, bool wait = false);
    void move(Mode mode, double speed);
    QByteArray ack() const { return NinepinReplies::ack(); }
    QByteArray refused() const { return NinepinReplies::nak(NinepinFault::Undefined); }

    // ninepinmotion.cpp
    QByteArray stop(), play(), record(), standbyOff(), standbyOn(), eject(), fastForward(), rewind();
    QByteArray jog(), variable(), shuttle(), stepForward(), stepReverse(), cueUp(), preroll();
    QByteArray programPlay(), fullEeOff(), fullEeOn(), selectEe(), editOn(), editOff();
    double speedOfBlock(double fastest) const;
    int prerollFrames() const;
    QByteArray startCue(const QmxTimecode &timecode);
    void route(bool input);
    void followCue();

    // ninepinedit.cpp
    QByteArray preview(), review(), autoEdit();
    QByteArray startSequence(Sequence sequence);
    bool refusesRecord();
    void beginEdit(qint64 in);
    void endEdit(qint64 out);
    void abortEdit();
    void abortSequence();
    void followEdit();
    void followEnd(bool records);
    bool hasLastFrame() const;
    bool isWhole() const; ///< the take has the frames of the edit, from the first one on
    void followSequence();
    void roll();

    // ninepinpreset.cpp
    QByteArray deviceType(), localDisable(), localEnable();
    QByteArray mark(), markData(), trimMark(), resetMark(), recallMark(), editPreset(), prerollTime();
    QByteArray timerMode(), autoMode(), generatorPreset(), generatorBits(), timerPreset(), timerReset();

    // ninepinsense.cpp
    QByteArray generatorSense(), timeSense(), markSense(), prerollSense(), statusSense(), speedSense();
    QByteArray timerModeSense(), inhibitSense(), presetSense();
    QmxTimecode shownTime() const;
    QmxTimecode timerTime() const;

    const NinepinOptions _options;
    const Give _give;
    const NinepinBlock *_block = nullptr; ///< being answered
    const DeckView *_view = nullptr;      ///< being looked at
    qint64 _now = 0;

    NinepinEditPoints _points;
    Mode _mode = Mode::None;
    double _asked = 0.0; ///< speed of the last motion
    bool _standby = true;
    bool _ejected = false;
    bool _programPlay = false;
    bool _fullEe = false, _selectEe = false;
    bool _autoMode = false;
    std::array<std::uint8_t, 2> _editPreset{};
    std::array<std::uint8_t, 4> _userBits{};
    std::uint8_t _timerMode = 0;
    QmxTimecode _prerollTime;
    int _timerOffset = 0;  ///< frames that timer 1 is ahead of the frame on the output
    QmxTimecode _lastTime; ///< the newest valid one

    Cue _cue = Cue::None;
    QmxTimecode _cueTarget;
    qint64 _cueGivenAt = 0;
    quint64 _cueOrder = 0;
    bool _cueSettled = false; ///< its order has been answered
    quint64 _playOrder = 0;   ///< of the last motion

    Edit _edit = Edit::None;
    qint64 _editIn = 0;  ///< index of the video clock
    qint64 _editOut = 0; ///< 0: not known yet
    quint64 _takeOrder = 0;
    bool _automatic = false;   ///< the edit was begun by a sequence
    bool _hasRecorded = false; ///< the take of the edit has been seen to run
    bool _aborted = false;

    Sequence _sequence = Sequence::None;
    bool _rolling = false; ///< the cue is over, it plays
    qint64 _inFrame = 0;   ///< of playback
    qint64 _outFrame = 0;
    bool _showsInput = false; ///< the output has been switched
    quint64 _orders = 0;
};
