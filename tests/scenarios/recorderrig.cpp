// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/scenarios/recorderrig.h"

#include "companions/stills/stillclips.h"
#include "platform/product/shmstring.h"
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/edges/lumenprofile.h"
#include "platform/qmx/edges/qmxstrip.h"
#include "platform/store/configfactoryimpl.h"
#include "tests/config/privatemachine.h"
#include "tests/support/movedfiles.h"
#include "tests/support/rounds.h"

#include <QDir>

namespace {

// Megabytes; the long day has takes of ten minutes.
const PrivateMachine machine(testRounds(320, 2000));

constexpr const char *outputName = "/xp_scenario";
constexpr int lookMs = 10; ///< at most half a tick, so that no picture is missed

void emptyFolder(const QString &path)
{
    for (const QFileInfo &entry : QDir(path).entryInfoList(QDir::Files | QDir::Hidden))
        QFile::remove(entry.filePath());
}

} // namespace

RecorderRig::RecorderRig(const QString &input, const QString &device)
{
    for (const char *folder : {"/media/A", "/media/B", "/var/lib/xp"})
        emptyFolder(QLatin1String(folder));
    writeAll(QmxPlaces().profile, QStringLiteral("[device]\nworkers=2\n%1\n[inputs]\n601=%2\n[outputs]"
                                                 "\nmonitor=preview:%3\n")
                                      .arg(device, input, QLatin1String(outputName))
                                      .toUtf8());
    const QString stills = dir.file(QStringLiteral("stills"));
    for (const StillFile &still : stillFiles()) {
        if (still.desc.height() >= 1080 || still.desc.dataType() != QmxId(202)) continue;
        EXPECT_FALSE(writeStillClip(stills, still).isError());
    }
    files = std::make_shared<FaultyFiles>(
        std::make_shared<MovedFiles>(std::map<QString, QString>{{QmxPlaces().stills, stills}}));
    QmxEnvironment environment = QmxEnvironment::current();
    environment.files = files;
    environment.deck = std::make_shared<QmxDeck>();
    QmxEnvironment::setCurrent(environment);

    registerMetaTypes();
    // Before the input is known, the card is set up for a format that this rig
    // has no still for.
    allowLog(QString(), QStringLiteral("loss_of_video_1080p"));
    allowLog(QStringLiteral("vtrobject"),
             QStringLiteral("but pending cue at")); // told of every cue
    allowLog(QString(),
             QStringLiteral("Failed to find loss of video file for 1920x1080")); // at shutdown
    CreateDescriptors();
    store.reset(ConfigFactoryImpl::GetInstance()->create(GetConfigURI("udp"), "operator", false));
    EXPECT_TRUE(store->setString(eParam_ActiveMediaPath, "/media/A"));
}

RecorderRig::~RecorderRig()
{
    if (app) quit();
}

void RecorderRig::begin()
{
    app = std::make_unique<MainObject>(false, nullptr);
    _outputCount = 0;
    EXPECT_TRUE(_output.open(QLatin1String(outputName)));
    ASSERT_TRUE(until([this] { return vtr().inputState().isValid(); }));
    pass(1000); // the input that was found leads to a reset half a second later
    ASSERT_TRUE(settles(VtrMode::StandbyOff));
    takeShown();
}

void RecorderRig::quit()
{
    // The framework lets a change of mode end before it tells the application of
    // the end.
    EXPECT_TRUE(until([this] { return !vtr().hasPendingModeChange(); }));
    quitAtOnce();
}

void RecorderRig::quitAtOnce()
{
    app->shutdown();
    app.reset();
}

void RecorderRig::look()
{
    QmxPreviewPicture picture;
    const quint64 count = _output.count();
    if (count == _outputCount || !_output.read(picture)) return;
    // With a new format the ticks begin anew, right after an old one perhaps.
    EXPECT_TRUE(count == _outputCount + 1 || _outputCount == 0 || picture.format != _lastShown.format)
        << "the test has missed a picture";
    _outputCount = count;
    Shown one;
    one.tick = picture.tick;
    one.frame = picture.frameNumber;
    one.timecode = picture.timecode;
    one.format = picture.format;
    one.isCapture = picture.isCapture;
    one.hasPicture = picture.hasPicture;
    const auto strip = QmxStrip::readLuma8(reinterpret_cast<const uchar *>(picture.luma.constData()),
                                           picture.width, picture.height, picture.width);
    if (strip) one.strip = *strip;
    _lastShown = one;
    shown.append(one);
}

void RecorderRig::pass(int ms)
{
    for (int passed = 0; passed < ms; passed += lookMs) {
        Stepper::runMs(std::min(lookMs, ms - passed));
        look();
    }
}

bool RecorderRig::until(const std::function<bool()> &predicate, int maxMs)
{
    Stepper::deliver();
    for (int passed = 0; !predicate(); passed += lookMs) {
        if (passed >= maxMs) return false;
        pass(lookMs);
    }
    return true;
}

void RecorderRig::write(eParam_t param, const QString &value)
{
    _mark = LogCollector::records().size();
    const ParamDescriptor *descriptor = GetDescriptor(param);
    StoreValue parsed;
    std::string reason;
    ASSERT_TRUE(descriptor->parse(value.toStdString(), parsed, reason)) << reason;
    const bool isEvent = param == eParam_TransportCommand || param == eParam_TransportSpeed ||
                         param == eParam_CueToFrame || param == eParam_TimecodePresetHour;
    const bool isText = parsed.kind == StoreValue::Kind::String;
    if (!isEvent && (isText ? text(param) == value : number(param) == parsed.number)) return;
    if (param == eParam_TransportCommand) _takesSeen = counter(QmxCounters::TakesOpened);
    ASSERT_TRUE(store->setValue(param, parsed)) << store->lastError();
    EXPECT_TRUE(logs("mainobject", QStringLiteral("Param Changed: [%1]").arg(quint32(param), 0, 16)))
        << value.toStdString();
}

bool RecorderRig::isIdle()
{
    return !vtr().hasPendingModeChange() && vtr().stateToString().endsWith(QStringLiteral("] "));
}

bool RecorderRig::settles(VtrMode::Value mode)
{
    return until([this, mode] { return vtr().state().mode().value() == mode && isIdle(); });
}

QString RecorderRig::clipOpened(int maxMs)
{
    const qint64 before = _takesSeen;
    EXPECT_TRUE(until([&] { return counter(QmxCounters::TakesOpened) > before; }, maxMs));
    _takesSeen = counter(QmxCounters::TakesOpened);
    // The name was published when the clip was asked for; the store's thread may
    // still be on its way.
    EXPECT_TRUE(Stepper::waitFor(
        [this] { return text(eParam_CurrentClip) == app->currentClip() && !app->currentClip().isEmpty(); }));
    return currentPath();
}

QString RecorderRig::beginTake()
{
    command(3);
    QString path = clipOpened();
    EXPECT_TRUE(settles(VtrMode::Record));
    return path;
}

QString RecorderRig::record(int ms)
{
    QString path = beginTake();
    pass(ms);
    EXPECT_TRUE(stop());
    return path;
}

bool RecorderRig::stop()
{
    command(4);
    return settles(VtrMode::StandbyOff);
}

void RecorderRig::enterStill()
{
    speed(QStringLiteral("0"));
    ASSERT_TRUE(settles(VtrMode::Play));
    ASSERT_TRUE(until([this] { return onOutput() >= 0; }));
    pass(600); // whatever the change of the card's format has held up is over
}

void RecorderRig::cueAndWait(int frame)
{
    cue(frame);
    ASSERT_TRUE(until([this, frame] { return isIdle() && onOutput() == frame; })) << onOutput();
}

unsigned RecorderRig::number(eParam_t param)
{
    unsigned value = 0;
    store->getUInt(param, value);
    return value;
}

QString RecorderRig::text(eParam_t param)
{
    std::string value;
    store->getString(param, value);
    return QString::fromStdString(value);
}

QByteArray RecorderRig::data(eParam_t param)
{
    std::string value;
    store->getData(param, value);
    return QByteArray::fromStdString(value);
}

bool RecorderRig::reads(eParam_t param, unsigned value)
{
    return Stepper::waitFor([&] { return number(param) == value; });
}

bool RecorderRig::reads(eParam_t param, const QString &value)
{
    return Stepper::waitFor([&] { return text(param) == value; });
}

bool RecorderRig::shows(eParam_t alarm, const char *wanted)
{
    return Stepper::waitFor([&] { return data(alarm).contains(wanted); });
}

bool RecorderRig::isClear(eParam_t alarm)
{
    return Stepper::waitFor([&] { return data(alarm).isEmpty(); });
}

QStringList RecorderRig::logged(const char *source) const
{
    QStringList lines;
    for (const QmxLogRecord &record : LogCollector::records().mid(_mark)) {
        if (record.source == QLatin1String(source)) lines << record.text;
    }
    return lines;
}

bool RecorderRig::logs(const char *source, const QString &wanted)
{
    return Stepper::waitFor([&] { return !logged(source).filter(wanted).isEmpty(); });
}

QString RecorderRig::shared(const char *name)
{
    std::string value;
    EXPECT_TRUE(ShmStringReader(name).get(value)) << name;
    return QString::fromStdString(value);
}
