// SPDX-License-Identifier: GPL-3.0-or-later
// xpctl as scripts and shells see it: every command's JSON against its schema, completion, the manual page,
// colours.
#include "companions/ctl/commands.h"
#include "companions/ctl/metrics.h"
#include "tests/support/print.h"
#include "tests/system/sandbox.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QSet>

#include <gtest/gtest.h>

#include <algorithm>

namespace {
QJsonObject schemas()
{
    return QJsonDocument::fromJson(readAll(XP_ROOT "/docs/xpctl.schema.json")).object();
}

bool hasType(const QJsonValue &value, const QString &type)
{
    if (type == "integer") return value.isDouble() && value.toDouble() == double(qint64(value.toDouble()));
    static const QMap<QString, QJsonValue::Type> types = {
        {"object", QJsonValue::Object}, {"array", QJsonValue::Array},  {"string", QJsonValue::String},
        {"number", QJsonValue::Double}, {"boolean", QJsonValue::Bool},
    };
    return types.contains(type) && value.type() == types[type];
}

/// Where a value is not as its schema has it; empty when it is. Fields that no schema knows count as wrong
/// too.
QString wrong(const QJsonValue &value, QJsonObject schema, const QString &at)
{
    if (schema.contains("$ref")) {
        const QString name = schema["$ref"].toString().section('/', -1);
        schema = schemas()["$defs"].toObject()[name].toObject();
    }
    if (schema.contains("anyOf")) {
        QString reasons;
        for (const auto &choice : schema["anyOf"].toArray()) {
            const QString reason = wrong(value, choice.toObject(), at);
            if (reason.isEmpty()) return {};
            reasons += reason + "; ";
        }
        return reasons;
    }
    if (schema.contains("enum"))
        return schema["enum"].toArray().contains(value) ? QString() : at + " is none of the choices";
    if (!hasType(value, schema["type"].toString())) return at + " is no " + schema["type"].toString();
    const QJsonObject fields = schema["properties"].toObject();
    for (const auto &field : schema["required"].toArray())
        if (!value.toObject().contains(field.toString())) return at + " lacks " + field.toString();
    const QJsonObject object = value.toObject();
    for (auto field = object.begin(); field != object.end(); ++field) {
        if (!fields.contains(field.key())) return at + " has an unknown field " + field.key();
        QString reason = wrong(*field, fields[field.key()].toObject(), at + "." + field.key());
        if (!reason.isEmpty()) return reason;
    }
    for (const auto &item : value.toArray())
        if (QString reason = wrong(item, schema["items"].toObject(), at + "[]"); !reason.isEmpty())
            return reason;
    return {};
}
} // namespace

TEST(Xpctl, everyCommandKeepsItsSchemaAndWaitsForItsEffect)
{
    Sandbox sandbox({"--no-mediad"});
    sandbox.setProfile("[inputs]\n601=generator:?rate=25&size=720x576&scan=i&tc=10:00:00:00\n"
                       "602=v4l2:/dev/no-camera\n603=generator:?rate=25&size=1280x720\n");
    const ProgramResult result = sandbox.run(R"sh(
        run() { echo "== $1"; xpctl --json "$@" || [ $? = "${may:-0}" ] || { echo "failed: $*" >&2; cat /run/xp/xpd.out >&2; return 1; }; }
        at() { xpctl --json status | grep -q "\"frame\":$1,"; }
        await is input_format 576i25
        xpctl set timecode_user_bits 1a2b3c4d >&2
        run record --for 1; run record
        await '[ $(recorded) -ge 25 ]'
        run stop; run ready; run clips
        xpctl set video_input ycbcr_422_legal >&2; await is record_format not_recordable
        xpctl ready 2>$OUT/unfit && exit 9; xpctl status | grep -q 'records   nothing:'; xpctl set video_input input_1 >&2; await is input_format 576i25
        run play; run still; run play 0; run cue 3; at 3; tc=$(xpctl --json status | sed 's/.*"timecode":"\([0-9:;]*\).*/\1/'); run step 3; at 6; run step -1; at 5; run cue "$tc"; at 3; run picture $OUT/picture.png; run picture --full $OUT/picture.jpg
        run clip take_001.mov; run cue 24; xpctl --json play 2>$OUT/at-end && exit 9
        run mark in 5; run mark out 15; run mark goal 8; run marks; run replay; run still; run unmark goal; run angle take_001.mov
        run edl save $OUT/marks.edl take_001.mov; run edl load $OUT/marks.edl take_001.mov
        run list add take_001.mov; run list add take_002.mov 0; run list move 0 1; run list
        for i in $(seq 20); do xpctl list add take_001.mov >&2 & done; wait; [ "$(xpctl list | wc -l)" = 22 ]
        mkdir /run/xp/small; mount -t tmpfs -o size=4k none /run/xp/small; echo kept >/run/xp/small/p.png
        xpctl picture /run/xp/small/p.png >&2 && exit 9; grep -q kept /run/xp/small/p.png
        xpctl stop >&2; xpctl set play_list ''; xpctl set playback_source play_list; xpctl play 2>$OUT/no-list && exit 9
        xpctl set play_list take_001.mov; xpctl play >&2
        run clips --all; run set playback_source all_clips; run still; run next; run prev; run stop; run list remove 0
        run get play_list; run params take; run alarms; run alarms --history; run status; run watch --once; run watch --once --stats; run metrics
        xpctl set sdi_level_a on
        await 'xpctl --json doctor | grep -q "SDI level A"'
        may=1 run doctor
        xpmediad >/dev/null 2>&1
        run info take_001.mov
        run settings export $OUT/settings; run settings diff; run settings reset sdi_level_a; run settings diff $OUT/settings
        run settings import $OUT/settings; is sdi_level_a on; sed 's/sdi_level_a/sdi_level_z/' $OUT/settings >$OUT/wrong
        xpctl set take_number 77; xpctl settings import $OUT/wrong 2>/dev/null && exit 9; is take_number 77
        printf 'LUT_3D_SIZE 99\n' >$OUT/big.cube; xpctl set lut_file $OUT/big.cube 2>$OUT/lut && exit 9; grep -q '2 to 65' $OUT/lut
        { echo LUT_3D_SIZE 2; printf '0 0 0\n%.0s' 1 2 3 4 5 6 7 8; } >$OUT/black.cube; (cd $OUT; xpctl set lut_file black.cube); is lut_file $OUT/black.cube; xpctl set lut_file ''
        xpctl record --at "$(date -d tomorrow +%FT10:00:00)" --until "$(date -d tomorrow +%FT10:10:00)" >&2; run schedule; run schedule cancel 1
        run profile save one; run profile diff one; run profile apply one
        run media; run protect take_002.mov; run unprotect take_002.mov; run copy take_002.mov B; run verify take_002.mov; run verify --all; run export take_002.mov /media/A/part --in 5 --out 15; run info part.mov; run cancel; xpctl delete part.mov; run delete /media/B/take_002.mov
        xpctl rename take_002.mov take_001 2>/dev/null && exit 9; run rename take_002.mov other; xpctl clips | grep -q other.mov
        xpctl list | grep -q other.mov && xpctl list | grep take_002.mov && exit 9
        run take-control 30; run lock; run unlock; run local; run remote; run release-control
        xpctl set audio_input analog >&2; xpctl set audio_channels eight >&2; xpctl record >&2 || true
        run acknowledge channels_need_embedded_audio; run alarms; xpctl alarms | grep -q 'seen by root at 2'; xpctl stop >&2 || true
        echo "== frames"
        xpctl --json watch >$OUT/watch & watching=$!
        await '[ $(wc -l <$OUT/watch) -ge 60 ]'
        kill $watching; wait $watching || true
        export TERM=xterm
        script -qec 'xpctl watch --once; xpctl clip none.mov; NO_COLOR=1 xpctl clip none.mov' $OUT/terminal >/dev/null || true
        xpctl clip none.mov 2>$OUT/file || true; xpctl --json clip none.mov 2>$OUT/error || true
    )sh");
    const QJsonObject commands = schemas()["properties"].toObject();
    QSet<QString> seen;
    QString command;
    for (const QByteArray &line : result.out.trimmed().split('\n')) {
        if (line.startsWith("== ")) {
            command = line.mid(3);
            continue;
        }
        const QJsonValue object = QJsonDocument::fromJson(line).object();
        EXPECT_EQ(wrong(object, commands[command].toObject(), command), QString()) << line.toStdString();
        seen.insert(command);
    }
    for (const CommandRow &row : ctlCommands()) {
        const bool isSilent = row.runAlone && std::string(row.name) != "doctor";
        // (Live needs a second deck.)
        if (row.isListed() && !isSilent && std::string(row.name) != "shut-down" &&
            std::string(row.name) != "live") {
            EXPECT_TRUE(seen.contains(row.name))
                << row.name << " is not in docs/xpctl.schema.json or not run here";
        }
    }
    const QJsonValue error = QJsonDocument::fromJson(readAll(sandbox.out("error"))).object();
    EXPECT_EQ(wrong(error, schemas()["$defs"].toObject()["error"].toObject(), "error"), QString());
    EXPECT_TRUE(readAll(sandbox.out("no-list")).contains("the play list is empty"));
    EXPECT_TRUE(readAll(sandbox.out("unfit")).contains("the input has a format that cannot be recorded"));
    EXPECT_TRUE(readAll(sandbox.out("at-end")).contains("the material ends at frame 24"));
    EXPECT_TRUE(result.out.contains("\"name\":\"take_001.mov\",\"place\":0")) << "moved down, then up again";
    EXPECT_TRUE(result.out.contains("602=v4l2:/dev/no-camera: /dev/no-camera is not there"))
        << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("SDI level A, HDMI 4:2:2")) << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("\"user_bits\":\"1a2b3c4d\"")) << result.out.toStdString();

    // Each line of watch is the next tick or, on a busy machine, a later one.
    qint64 last = 0;
    qint64 skipped = 0;
    for (const QByteArray &line : readAll(sandbox.out("watch")).split('\n').mid(0, 60)) {
        const qint64 tick = jsonField(line, "tick").toLongLong();
        EXPECT_GT(tick, last);
        skipped += last > 0 ? tick - last - 1 : 0;
        last = tick;
    }
    RecordProperty("skipped_ticks", int(skipped));

    const ProgramResult picture =
        runProgram("ffprobe", {"-v", "error", "-show_entries", "stream=codec_name,width,height", "-of",
                               "csv=p=0", sandbox.out("picture.png")});
    EXPECT_EQ(picture.out.trimmed(), QByteArray("png,720,576")) << picture.err.toStdString();
    EXPECT_TRUE(readAll(sandbox.out("picture.jpg")).startsWith("\xff\xd8")) << "JPEG by its ending";
    const QByteArray terminal = readAll(sandbox.out("terminal"));
    EXPECT_TRUE(terminal.contains("\x1b[K\r\n")) << "watch ends its line: " << terminal.toStdString();
    EXPECT_EQ(terminal.count("\x1b[1;31mxpctl:\x1b[0m there is no clip"), 1) << terminal.toStdString();
    EXPECT_EQ(terminal.count("\nxpctl: there is no clip"), 1) << terminal.toStdString();
    EXPECT_FALSE(readAll(sandbox.out("file")).contains("\x1b"));
}

TEST(Xpctl, figuresAreServed)
{
    Sandbox sandbox({"--no-mediad", "--net", "private"});
    const ProgramResult result = sandbox.run(R"sh(
        xpctl record --for 1 >&2
        xpctl metrics --listen 127.0.0.1:9464 & serving=$!
        await '{ exec 3<>/dev/tcp/127.0.0.1/9464; } 2>/dev/null'
        printf 'GET /metrics HTTP/1.0\r\n\r\n' >&3; cat <&3
        status=0; xpctl metrics --listen 127.0.0.1:9464 2>&1 || status=$?; echo "second: $status"
        kill $serving; wait $serving
        at=/run/xp/figures; ask() { printf 'GET /metrics HTTP/1.0\r\n\r\n' | socat -t 30 - UNIX-CONNECT:$at; }
        xpctl metrics --listen $at & serving=$!
        await [ -S $at ]
        while printf x; do read -rt 0.3 <> <(:) || true; done | socat - UNIX-CONNECT:$at >/dev/null & # one that never comes to its end
        ask >$OUT/socket; stat -c 'mode %a' $at
        status=0; xpctl metrics --listen $at 2>&1 || status=$?; echo "second there: $status"
        kill -KILL $serving; wait $serving 2>/dev/null || true
        xpctl metrics --listen $at & serving=$!
        await 'ask >$OUT/socket-again 2>/dev/null && grep -q xp_up $OUT/socket-again'
        kill $serving; wait $serving; [ ! -e $at ] && echo 'no socket is left'
    )sh");
    const QList<QByteArray> lines = QByteArray(result.out).replace('\r', "").split('\n');
    EXPECT_TRUE(lines.contains("# TYPE xp_frames_recorded_total counter")) << result.out.toStdString();
    EXPECT_TRUE(lines.contains("xp_up 1"));
    EXPECT_TRUE(lines.contains("xp_status{status=\"stopped\"} 1"));
    EXPECT_TRUE(result.out.contains("xp_medium_free_bytes{medium=\"/media/A\"} "));
    for (const char *line : {"second: 1", "mode 660", "second there: 1", "no socket is left"})
        EXPECT_TRUE(lines.contains(line)) << line << "\n" << result.out.toStdString();
    const QByteArray socket = readAll(sandbox.out("socket"));
    EXPECT_TRUE(socket.startsWith("HTTP/1.0 200 OK\r\n")) << socket.toStdString();
    EXPECT_TRUE(socket.contains("\nxp_up 1\n")) << socket.toStdString();
    for (const QmxCounters::Description &row : QmxCounters::descriptions()) {
        const auto told = std::count_if(lines.begin(), lines.end(), [&row](const QByteArray &line) {
            return line.startsWith(QByteArray(row.metric) + " ");
        });
        EXPECT_EQ(told, 1) << row.metric;
    }
    const auto recorded = std::find_if(lines.begin(), lines.end(), [](const QByteArray &line) {
        return line.startsWith("xp_frames_recorded_total ");
    });
    EXPECT_GE(recorded == lines.end() ? 0 : recorded->split(' ').last().toDouble(), 25);
}

TEST(Xpctl, withNothingRunningCommandsSaySoAndUnknownOnesNameTheNearest)
{
    Sandbox sandbox({"--no-daemon", "--no-mediad"});
    const ProgramResult result = sandbox.run(R"sh(
        cp /usr/local/share/media/prores_422/loss_of_video_625i_422.mov /media/A/a.mov
        xpctl set active_media_path /media/A && xpctl settings export $OUT/s.json || true
        for line in status 'watch --once' alarms 'acknowledge no_media' 'picture p.png' record 'record --at 10:00:00' schedule \
            stop 'mark in' 'unmark in' marks 'marks a.mov' clips 'info a.mov' list 'list add a.mov' 'list clear' \
            'edl save l' media 'export a.mov b' cancel 'verify a.mov' take-control release-control lock unlock \
            local remote 'get video_input' params 'settings export' 'settings diff' 'profile list'; do
            rc=0; told=$(xpctl $line 2>&1) || rc=$?
            [ $rc = 3 ] && [[ $told = *'not running'* ]] || echo "$line: $rc $told"
        done
        for line in 'help recrod' 'recrod --help' recrod lits; do xpctl $line 2>&1 | head -1; done
        rc=0; xpctl help recrod 2>/dev/null || rc=$?; say "done $rc"
        xpctl profile save x >/dev/null; rc=0; xpctl profile diff x >/dev/null 2>&1 || rc=$?; [ $rc = 3 ]
        for line in "settings import $OUT/s.json" 'settings reset' 'profile apply x' 'info /media/A/a.mov' 'mark in 0 /media/A/a.mov'; do
            xpctl $line >/dev/null || echo "$line: $?"
        done
    )sh");
    const QByteArray unknown = "xpctl: there is no command 'recrod'; did you mean record?\n";
    EXPECT_EQ(result.out, unknown + unknown + unknown +
                              "xpctl: there is no command 'lits'; did you mean list?\n== done 2\n");
    EXPECT_EQ(result.err.count("it takes this up when it starts"), 4) << result.err.toStdString();
}

TEST(Xpctl, shellsAndManAcceptWhatIsMadeForThem)
{
    Sandbox sandbox({"--no-daemon"});
    const ProgramResult result = sandbox.run(R"sh(
        xpctl completion bash >$OUT/xpctl.bash; xpctl completion zsh >$OUT/_xpctl; xpctl manual >$OUT/xpctl.1
        xpctl completion tcsh 2>&1 || echo "status $?"
        xpctl set active_media_path /media/A
        cp /usr/local/share/media/prores_422/loss_of_video_625i_422.mov '/media/A/$(touch pwned).mov'
        . $OUT/xpctl.bash
        offer() { COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _xpctl || true; echo "$*: ${COMPREPLY[*]}"; }
        offer xpctl rec; offer xpctl record --; offer xpctl set video_in; offer xpctl set loop_playback ''
        offer xpctl --json list m; offer xpctl record --for ''; offer xpctl clip ''
        offer xpctl list add ''; offer xpctl settings reset sdi_; offer xpctl --channel ''; offer xpctl help acknow
        offer xpctl mark ou; (cd $OUT; offer xpctl set lut_file _xp)
        [ ! -e pwned ] || echo 'a name was run'
        # zsh, typed into: what stands in its line behind the key that completes.
        cat >$OUT/.zshrc <<'RC'
            autoload -U compinit; compinit -u -d $ZDOTDIR/dump; . $ZDOTDIR/_xpctl
            tell() { print -r -- "zsh: $BUFFER|" >>$ZDOTDIR/told; BUFFER=; zle -M told }
            zle -N tell; bindkey '^I' expand-or-complete; bindkey '^G' tell
RC
        TERM=xterm ZDOTDIR=$OUT timeout 60 zsh -fc '
            zmodload zsh/zpty; zpty shell zsh -i
            for line in "xpctl rec" "xpctl record --f" "xpctl set video_in" "xpctl set loop_playback of" "xpctl list mo" "xpctl clip "; do
                zpty -w -n shell $line$'"'\t\a'"'; zpty -r -m shell seen "*told*"
            done; zpty -d shell'
        cat $OUT/told; [ ! -e pwned ] || echo 'a name was run'
        man --warnings -E UTF-8 -l $OUT/xpctl.1 2>&1 >$OUT/page | head -n 5
        cat $OUT/page
    )sh");
    constexpr auto recordOptions = "xpctl record --: --json --help --channel --channels --all --best-effort "
                                   "--recorder --recorders --for "
                                   "--start --at --until --no-wait "
                                   "--on-word";
    for (const char *line : {"status 2",
                             "xpctl rec: record",
                             recordOptions,
                             "xpctl set video_in: video_input",
                             "xpctl set loop_playback : off on",
                             "xpctl --json list m: move",
                             "xpctl record --for : ",
                             "xpctl clip : \\$\\(touch\\ pwned\\).mov",
                             "xpctl list add : \\$\\(touch\\ pwned\\).mov",
                             "xpctl settings reset sdi_: sdi_level_a",
                             "xpctl --channel : 1",
                             "xpctl help acknow: acknowledge",
                             "xpctl mark ou: out",
                             "xpctl set lut_file _xp: _xpctl",
                             "zsh: xpctl record |",
                             "zsh: xpctl record --for |",
                             "zsh: xpctl set video_input |",
                             "zsh: xpctl set loop_playback off |",
                             "zsh: xpctl list move |",
                             "zsh: xpctl clip \\$\\(touch\\ pwned\\).mov |"}) {
        EXPECT_TRUE(result.out.contains(QByteArray(line) + "\n")) << line << "\n" << result.out.toStdString();
    }
    EXPECT_FALSE(result.out.contains("a name was run"));
    for (const CommandRow &row : ctlCommands()) {
        for (const ArgumentRow &argument : row.arguments)
            for (const QString &word : QString(argument.completes).split(' '))
                EXPECT_TRUE(!word.startsWith('@') || isCompletionKind(word.mid(1).toStdString()))
                    << argument.name;
        const QByteArray line = QByteArray("\n       ") + row.name;
        EXPECT_EQ(result.out.contains(line + " ") || result.out.contains(line + "\n"), row.isListed())
            << row.name;
    }
    // The page is justified, and long words are parted at line ends.
    const QString page =
        QString::fromUtf8(result.out).remove(QRegularExpression(QStringLiteral("\u2010\n *"))).simplified();
    for (const ExitCodeRow &row : exitCodes())
        EXPECT_TRUE(page.contains(QLatin1String(row.meaning))) << row.meaning << page.toStdString();
}
