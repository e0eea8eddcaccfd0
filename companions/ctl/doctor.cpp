// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/doctor.h"

#include "companions/ctl/panelfinding.h"
#include "companions/ctl/remotefinding.h"
#include "platform/control/access.h"
#include "platform/control/transportanswers.h"
#include "platform/product/clipfinder.h"
#include "platform/product/stillfiles.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxlockfile.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxsamefilesystem.h"
#include "platform/qmx/edges/lumenprofile.h"
#include "platform/qmx/edges/qmxpreview.h"
#include "platform/qmx/edges/qmxsink.h"
#include "platform/store/configfactoryimpl.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QStorageInfo>

#include <mutex>

#include <sched.h>
#include <sys/timex.h>
#include <unistd.h>

namespace {
constexpr qint64 megabyte = 1000 * 1000;

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
}

/// Where somebody finds the engineer's guide.
QString guide()
{
    const QString installed = QStringLiteral("/usr/share/doc/xp-recorder/engineer.md");
    return QFileInfo::exists(installed) ? installed : QStringLiteral("docs/engineer.md of the sources");
}

Finding store(Recorder &recorder)
{
    const QString address = QString::fromStdString(GetConfigURI("udp"));
    const QString problem = recorder.storeProblem();
    if (problem.isEmpty()) return {Finding::Good, address, {}};
    if (!Access::isOperator()) return {Finding::Wrong, "cannot be read by this account", Access::advice()};
    return {Finding::Wrong, problem,
            "its address stands in /etc/xp/store; its folder must belong to the account of the services"};
}

Finding access(Recorder &)
{
    if (!Access::hasGroup()) return {Finding::Good, "there is no group xp: everybody is on his own", {}};
    if (geteuid() == 0) return {Finding::Good, "root", {}};
    if (Access::isOperator()) return {Finding::Good, "member of the group xp", {}};
    return {Finding::Wrong, Access::refusal(), Access::advice()};
}

QString runningAs(int pid)
{
    return pid == QmxLockFile::unknownHolder ? QStringLiteral("running (without its process id in /var/lock)")
                                             : QStringLiteral("running as process %1").arg(pid);
}

Finding daemon(Recorder &recorder)
{
    const int pid = recorder.daemonPid();
    if (pid == 0)
        return {Finding::Wrong, "not running", "start it: systemctl start xpd (in a checkout: ./xp run)"};
    const QString running = runningAs(pid);
    if (recorder.daemonStandsStill())
        return {Finding::Wrong, running + ", but it stands still", "systemctl restart xpd"};
    if (!recorder.storeProblem().isEmpty())
        return {Finding::Hint, running + "; whether with this store cannot be seen", {}};
    if (recorder.number(eParam_TransportRunning) == 0)
        return {Finding::Wrong,
                running + ", but not with this store, or it has just begun or is about to end",
                "after a change of /etc/xp/store: systemctl restart xpd xpmediad"};
    return {Finding::Good, running, {}};
}

Finding mediaDaemon(Recorder &)
{
    const int pid = QmxLockFile(QmxEnvironment::current().places->mediaLock).holder();
    if (pid != 0) return {Finding::Good, runningAs(pid), {}};
    return {Finding::Hint, "not running: nobody chooses media, nothing rolls over",
            "start it: systemctl start xpmediad"};
}

/// Collects what the profile's reader complains about.
class Complaints : public QmxLogTap
{
public:
    Complaints() { QmxLog::defaultLog()->addTap(this); }
    ~Complaints() override { QmxLog::defaultLog()->removeTap(this); }
    void record(const QmxLogRecord &record) override
    {
        const std::lock_guard lock(_mutex);
        if (record.level <= QmxLogLevel::Warning) texts << record.text;
    }
    QStringList texts;

private:
    std::mutex _mutex;
};

Finding profile(Recorder &)
{
    const QString path = QmxEnvironment::current().places->profile;
    const Complaints complaints;
    const LumenProfile profile = LumenProfile::load(path, QmxEnvironment::current());
    if (!complaints.texts.isEmpty()) {
        return {Finding::Wrong, complaints.texts.join("; "), "correct it, then: systemctl restart xpd"};
    }
    const QString size = QStringLiteral("%1 inputs, %2 outputs besides the preview")
                             .arg(profile.inputs.size())
                             .arg(profile.outputs.size());
    if (!QFileInfo::exists(path)) {
        return {Finding::Hint, "no " + path + ": the built-in one, a test picture, is used",
                QStringLiteral("describe the inputs and outputs there; %1 tells how").arg(guide())};
    }
    return {Finding::Good, size, {}};
}

/// Whether a line [inputs] with this number can be chosen: the identifiers of that range are the sources that
/// video_input has names for, and the sound beside them.
bool canBeChosen(int input)
{
    const QmxId id(input);
    return id != QmxIds::analogAudio && id.name() != QString::number(input);
}

/// The lines that nothing can choose; empty: none.
QStringList idleLines(const LumenProfile &profile)
{
    QStringList lines;
    for (auto input = profile.inputs.begin(); input != profile.inputs.end(); ++input)
        if (!canBeChosen(input.key())) lines << QStringLiteral("%1=%2").arg(input.key()).arg(*input);
    return lines;
}

Finding idleInputs(const QString &found, const QStringList &lines)
{
    QStringList numbers;
    for (int input = QmxIds::firstInput.value(); input < QmxIds::internalGenerator.value(); ++input)
        if (canBeChosen(input)) numbers << QString::number(input);
    return {Finding::Hint, QStringLiteral("%1; nothing can choose %2").arg(found, lines.join("; ")),
            QStringLiteral("video_input has names for %1; give the line one of these numbers")
                .arg(numbers.join(", "))};
}

/// Each line of the profile by the parser that reads it in the daemon; what can be opened is opened.
Finding inputs(Recorder &recorder)
{
    const QmxEnvironment environment = QmxEnvironment::current();
    const Complaints complaints; // the parsers also log
    const LumenProfile profile = LumenProfile::load(environment.places->profile, environment);
    QStringList problems;
    for (auto input = profile.inputs.begin(); input != profile.inputs.end(); ++input)
        if (const QString problem = qmxSourceProblem(*input, environment); !problem.isEmpty())
            problems << QStringLiteral("%1=%2: %3").arg(input.key()).arg(*input, problem);
    if (!problems.isEmpty())
        return {Finding::Wrong, problems.join("; "),
                QStringLiteral("correct %1, then: systemctl restart xpd").arg(environment.places->profile)};
    const QString known = QStringLiteral("%1 known").arg(profile.inputs.size());
    const auto card = recorder.card();
    const QStringList idle = idleLines(profile);
    if (!card) return idle.isEmpty() ? Finding{Finding::Good, known, {}} : idleInputs(known, idle);
    if (!recorder.storeProblem().isEmpty())
        return {Finding::Hint, known + "; which one is chosen cannot be seen", {}};
    const QString chosen = QString::fromStdString(
        GetDescriptor(eParam_VideoInput)->label(int(recorder.number(eParam_VideoInput))));
    // An input counts as there after half a second of good signal: a daemon that has just begun is waited
    // for.
    constexpr std::chrono::seconds settleTime(2);
    const bool isThere =
        recorder.waitFor([&recorder] { return recorder.inputProblem().isEmpty(); }, settleTime);
    const QString found =
        QStringLiteral("%1; %2: %3").arg(known, chosen, recorder.card().value_or(*card).input);
    if (isThere && recorder.number(eParam_RecordFormat) == storeNumber(RecordFormat::NotRecordable))
        return {Finding::Wrong, found + ": no format that can be recorded",
                adviceOn(QmxIds::unsupportedInput)};
    if (isThere) return idle.isEmpty() ? Finding{Finding::Good, found, {}} : idleInputs(found, idle);
    return {Finding::Hint, found, "give it a signal, or choose another input: xpctl set video_input NAME"};
}

Finding outputs(Recorder &recorder)
{
    const QmxEnvironment environment = QmxEnvironment::current();
    const Complaints complaints;
    const LumenProfile profile = LumenProfile::load(environment.places->profile, environment);
    QStringList problems;
    for (const auto &[name, locator] : profile.outputs)
        if (const QString problem = qmxSinkProblem(locator, environment); !problem.isEmpty())
            problems << QStringLiteral("%1=%2: %3").arg(name, locator, problem);
    if (!problems.isEmpty())
        return {Finding::Wrong, problems.join("; "),
                QStringLiteral("correct %1, then: systemctl restart xpd").arg(environment.places->profile)};
    const QString known = QStringLiteral("%1 besides the preview").arg(profile.outputs.size());
    const auto card = recorder.card();
    const QString told = card ? card->outputs.trimmed().replace('\n', "; ") : QString();
    if (card && !recorder.storeProblem().isEmpty())
        return {Finding::Hint, known + "; whether they are served cannot be seen", {}};
    // What the lines do not tell: whether they can be opened, by the account of the recorder.
    if (card)
        for (const Recorder::Alarm &alarm : recorder.alarms())
            if (alarm.id == eParam_AlarmOutputFailed)
                return {Finding::Wrong, alarm.message,
                        QStringLiteral("check its address and what receives it; the lines are in %1")
                            .arg(environment.places->profile)};
    return {Finding::Good, told.isEmpty() ? known : known + ": " + told, {}};
}

/// What the output carries, with its electrical side, which nobody sees in the picture.
Finding output(Recorder &)
{
    QmxPreviewReader preview;
    QmxPreviewPicture picture;
    if (!preview.open() || !preview.read(picture))
        return {Finding::Hint, "cannot be seen: the daemon shows no picture", {}};
    return {Finding::Good, picture.format + ", " + picture.connection, {}};
}

Finding medium(Recorder &recorder)
{
    return checkMedium(recorder.here(recorder.text(eParam_ActiveMediaPath)));
}

Finding mirror(Recorder &recorder)
{
    const QString path = recorder.text(eParam_MirrorMediaPath);
    if (path.isEmpty()) return {Finding::Good, "takes are on one medium", {}};
    const QString active = recorder.text(eParam_ActiveMediaPath);
    QmxFiles &files = *recorder.environment().files;
    struct statfs64 ofActive = {};
    struct statfs64 ofMirror = {};
    if (!active.isEmpty() && files.statfs(active, &ofActive) == 0 && files.statfs(path, &ofMirror) == 0 &&
        qmxSameFileSystem(files, active, ofActive, path, ofMirror))
        return {Finding::Wrong,
                QStringLiteral("%1 is on the same medium as %2: takes are on one medium").arg(path, active),
                "choose another one: xpctl set mirror_media_path FOLDER"};
    Finding found = checkMedium(path);
    const auto pending = QJsonDocument::fromJson(recorder.text(eParam_MirrorPending).toUtf8()).array().size();
    if (found.state == Finding::Good && pending > 0)
        return {
            Finding::Hint,
            QStringLiteral("%1; clips that may be shorter on one medium: %2").arg(found.found).arg(pending),
            "they are completed when no take runs and both media are there"};
    return found;
}

Finding diskSpeed(Recorder &recorder)
{
    if (recorder.daemonIsRunning() && recorder.status() != TransportStatus::Stopped) {
        return {Finding::Hint, "not measured: the recorder is in use", "stop it, then ask again"};
    }
    const QString path = recorder.here(recorder.text(eParam_ActiveMediaPath));
    return path.isEmpty() ? Finding{Finding::Hint, "not measured: no medium is active", {}}
                          : checkDiskSpeed(path);
}

Finding stills(Recorder &)
{
    const qsizetype wanted = stillFiles().size();
    const QString stills = QmxEnvironment::current().places->stills;
    qsizetype count = 0;
    for (const char *folder : {"prores_422", "prores_444"})
        count += QDir(stills + "/" + folder).entryList({"*.mov"}, QDir::Files).size();
    const QString found = QStringLiteral("%1 of %2 below %3").arg(count).arg(wanted).arg(stills);
    if (count >= wanted) return {Finding::Good, found, {}};
    return {Finding::Wrong, found + ": a take ends when its input is lost, whatever is set",
            QStringLiteral("make them: xp-stills %1").arg(stills)};
}

Finding sharedMemory(Recorder &)
{
    const QStorageInfo memory(QmxPlaces().memory);
    constexpr qint64 wanted = 128 * megabyte;
    const QString found = QStringLiteral("%1 MB free in /dev/shm").arg(memory.bytesAvailable() / megabyte);
    if (memory.isValid() && memory.bytesAvailable() >= wanted) return {Finding::Good, found, {}};
    return {Finding::Wrong, found + ": lists of clips and the preview have no room",
            "enlarge it: mount -o remount,size=512M /dev/shm"};
}

Finding priority(Recorder &recorder)
{
    const QString tasks = QStringLiteral("/proc/%1/task/").arg(recorder.daemonPid());
    for (const QString &task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (contents(tasks + task + "/comm") != "lumen-clock") continue;
        const int policy = sched_getscheduler(task.toInt());
        if (policy == SCHED_RR || policy == SCHED_FIFO) {
            return {Finding::Good, "the video clock has real-time priority", {}};
        }
        return {Finding::Hint, "the video clock has no real-time priority: a busy machine makes ticks late",
                "start the daemon by its service, which has LimitRTPRIO"};
    }
    return {Finding::Hint, "cannot be seen: the daemon is not running", {}};
}

Finding hugePages(Recorder &)
{
    const QByteArray memory = contents("/proc/meminfo");
    const qsizetype at = memory.indexOf("HugePages_Total:");
    const int pages = at < 0 ? 0 : memory.mid(at + 16, 20).trimmed().split('\n').first().toInt();
    if (pages > 0) return {Finding::Good, QStringLiteral("%1 reserved").arg(pages), {}};
    return {Finding::Hint, "none: pictures live in ordinary pages, which costs a little time",
            "for example: sysctl vm.nr_hugepages=256"};
}

Finding clockState(Recorder &)
{
    const QByteArray source = contents("/sys/devices/system/clocksource/clocksource0/current_clocksource");
    if (source == "hpet" || source == "acpi_pm" || source == "jiffies") {
        return {Finding::Hint,
                "the kernel's clock is " + QString::fromLatin1(source) + ", which is slow to read",
                "see clocksource= in the kernel's documentation"};
    }
    timex state = {};
    if (adjtimex(&state) == TIME_ERROR) {
        return {Finding::Hint,
                "time of day is not synchronised; time-of-day timecode will differ from the house",
                "install a time client, for example: apt install chrony"};
    }
    return {Finding::Good, QString::fromLatin1(source) + ", synchronised", {}};
}
} // namespace

std::span<const DoctorCheck> doctorChecks()
{
    static constexpr DoctorCheck rows[] = {
        {"store", store},
        {"access", access},
        {"daemon", daemon},
        {"media_daemon", mediaDaemon},
        {"profile", profile},
        {"inputs", inputs},
        {"outputs", outputs},
        {"output", output},
        {"medium", medium, true},
        {"mirror", mirror, true},
        {"disk_speed", diskSpeed, true},
        {"stills", stills},
        {"shared_memory", sharedMemory},
        {"priority", priority},
        {"huge_pages", hugePages},
        {"clock", clockState},
        {"remote", remoteFinding},
        {"panel", panelFinding},
        {"pre_record", checkPreRecord, true},
    };
    return rows;
}
