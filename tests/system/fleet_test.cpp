// SPDX-License-Identifier: GPL-3.0-or-later
// A recorder whose settings lie on three servers that sentinels watch, each on a network of its own.
#include "tests/support/print.h"
#include "tests/system/sandbox.h"

#include <gtest/gtest.h>

#include <QRegularExpression>

TEST(Fleet, serversThatAreKilledOrCutOffCostNoTakeAndNoChange)
{
    Sandbox sandbox({"--no-daemon", "--no-mediad", "--net", "private"});
    sandbox.setProfile("[inputs]\n601=generator:?rate=25&size=720x576&scan=i\n");
    const ProgramResult result = sandbox.run(R"sh(
        on() { nsenter -t ${network[$1]} -n "${@:2}"; }
        serve() { # N, more options
            nsenter -t ${network[$1]} -n redis-server --port 6379 --bind 0.0.0.0 --protected-mode no --appendonly yes --appendfsync always \
                --save '' --dir /run/xp/redis$1 "${@:2}" >>/run/xp/redis$1/log 2>&1 & server[$1]=$!
        }
        master() { for n in 1 2 3; do timeout 1 redis-cli -h 10.9.0.1$n -p 26379 sentinel \
            get-master-addr-by-name main 2>/dev/null | head -1; done | sort | uniq -c | sort -rn | awk 'NR == 1 { print $2 }'; }
        written() { awk '$2 == "done" { last = $1 } END { print last + 0 }' $OUT/written; }
        ip link add cable type bridge; ip addr add 10.9.0.1/24 dev cable; ip link set cable up
        for n in 1 2 3; do
            mkdir /run/xp/redis$n
            unshare -n sleep 600 & network[$n]=$!
            await "[ \$(readlink /proc/${network[$n]}/ns/net) != \$(readlink /proc/self/ns/net) ]"
            ip link add cable$n type veth peer name port$n; ip link set port$n netns ${network[$n]}
            ip link set cable$n master cable up
            on $n ip addr add 10.9.0.1$n/24 dev port$n; on $n ip link set port$n up; on $n ip link set lo up
            serve $n $([ $n = 1 ] || echo --replicaof 10.9.0.11 6379)
        done
        await '[ "$(redis-cli -h 10.9.0.11 info replication | grep -c state=online)" = 2 ]'
        for n in 1 2 3; do
            printf 'port 26379\nbind 0.0.0.0\nprotected-mode no\nsentinel monitor main 10.9.0.11 6379 2\ndir /run/xp/redis%s\n' $n \
                >/run/xp/redis$n/sentinel.conf
            printf 'sentinel down-after-milliseconds main 1000\nsentinel failover-timeout main 3000\n' >>/run/xp/redis$n/sentinel.conf
            nsenter -t ${network[$n]} -n redis-server /run/xp/redis$n/sentinel.conf --sentinel >/run/xp/redis$n/sentinel.log 2>&1 & watcher[$n]=$!
        done
        await '[ "$(redis-cli -h 10.9.0.11 -p 26379 sentinel master main | grep -A1 num-other-sentinels | tail -1)" = 2 ]'
        echo redis-sentinel://10.9.0.11,10.9.0.12,10.9.0.13/main/studio-1 >/etc/xp/store
        xpctl set active_media_path /media/A 2>/dev/null
        xpd -D >$OUT/log 2>&1 & daemon=$!
        await 'xpctl ready >/dev/null 2>&1'
        xpctl record >/dev/null
        (number=100; until [ -e /run/xp/enough ]; do
            number=$((number + 1))
            if xpctl set reel_number $number >/dev/null 2>&1; then echo "$number done"; else echo "$number refused"; fi
        done >$OUT/written) & writer=$!
        await '[ $(written) -ge 3 ]'
        first=$(master); n=${first##*.1}
        kill -KILL ${server[$n]}; wait ${server[$n]} || true
        await '[ "$(master)" != $first ]'; before=$(written); await "[ \$(written) -gt $((before + 2)) ]"
        serve $n; await "redis-cli -h $first info replication | grep -q master_link_status:up"
        second=$(master); n=${second##*.1}
        ip link set cable$n down
        await '[ "$(master)" != $second ]'; before=$(written); await "[ \$(written) -gt $((before + 2)) ]"
        ip link set cable$n up
        await "redis-cli -h $second info replication | grep -q master_link_status:up"
        before=$(written); await "[ \$(written) -gt $((before + 2)) ]"
        touch /run/xp/enough; wait $writer
        say masters; echo $first; echo $second; master
        say last; written; xpctl get reel_number
        say take; xpctl --json stop; xpctl metrics | grep '^xp_frames_dropped_capture_total'
        kill -TERM $daemon; wait $daemon
        kill ${server[*]} ${watcher[*]} ${network[*]}; wait || true
    )sh");
    const QList<QByteArray> masters = said(result.out, "masters").trimmed().split('\n');
    ASSERT_EQ(masters.size(), 3) << result.out.toStdString();
    EXPECT_NE(masters[0], masters[1]);
    EXPECT_NE(masters[1], masters[2]) << "the one that was cut off is not asked again";
    const QList<QByteArray> last = said(result.out, "last").trimmed().split('\n');
    EXPECT_EQ(last.size() == 2 ? last[0] : QByteArray("?"), last.value(1))
        << "an acknowledged change is gone";
    EXPECT_TRUE(said(result.out, "take").contains("_total 0")) << said(result.out, "take").toStdString();
    // What the daemon heard: in order, none twice.
    int before = 0;
    const QString log = QString::fromUtf8(readAll(sandbox.out("log")));
    static const QRegularExpression change(QStringLiteral("Param Changed: .*7b03060a.*?(\\d+)\\s*$"),
                                           QRegularExpression::MultilineOption |
                                               QRegularExpression::CaseInsensitiveOption);
    int heard = 0;
    for (auto it = change.globalMatch(log); it.hasNext(); ++heard) {
        const int number = it.next().captured(1).toInt();
        EXPECT_GT(number, before) << "told twice, or in the wrong order";
        before = number;
    }
    EXPECT_GT(heard, 10);
    EXPECT_EQ(QByteArray::number(before), last.value(1)) << "the newest change was not told";
}

TEST(Fleet, theKeyStandsForCertificatesAndWhoIsInBetweenGetsNothing)
{
    Sandbox sandbox({"--channels", "2", "--net", "private"});
    sandbox.setProfile("[inputs]\n601=generator:?rate=25&size=720x576&scan=i\n");
    const ProgramResult result = sandbox.run(R"sh(
        get() { curl -sS -m 20 "http://127.0.0.1:8090/api/v1/$@"; echo; }
        there() { exec nsenter -t $network -n env XP_CHANNEL=2 "$@"; }
        certificate() { xppanel certificate $1.crt $1.key $2; cat $1.crt $1.key >$1.pem; }
        told() { get fleet | sed 's/{/\n/g' | sed -nE 's/.*"name":"'$1'","problem":"([^"]*)","state":"([^"]*)".*/\2 \1/p'; }
        cd /run/xp; for file in /etc/xp/fleet.key other.key; do head -c 32 /dev/urandom | od -An -tx1 | tr -d ' \n' >$file; chmod 640 $file; done
        unshare -n sleep 600 & network=$!
        await "[ \$(readlink /proc/$network/ns/net) != \$(readlink /proc/self/ns/net) ]"
        ip link add here type veth peer name there; ip link set there netns $network; ip addr add 10.9.0.1/24 dev here; ip link set here up
        nsenter -t $network -n ip addr add 10.9.0.2/24 dev there; nsenter -t $network -n ip link set there up; nsenter -t $network -n ip link set lo up
        certificate north 10.9.0.2; certificate between 10.9.0.1
        echo word-of-anna | xppanel --users users user add anna --role view
        north_options="xppanel --users users --tls-certificate north.crt --tls-key north.key --listen 10.9.0.2"
        between() { socat OPENSSL-LISTEN:8443,bind=$1,reuseaddr,fork,cert=between.pem,verify=0 OPENSSL:10.9.0.2:$2,verify=0 2>/dev/null; }
        (there $north_options:8443 2>/dev/null) & north=$!
        (there unshare -m sh -c "mount --bind other.key /etc/xp/fleet.key; exec $north_options:8444" 2>/dev/null) & false=$!
        between 10.9.0.1 8443 & between=$!
        printf '%s\n' 'north https://10.9.0.2:8443' 'between https://10.9.0.1:8443' 'false https://10.9.0.2:8444' 'plain 10.9.0.2:8443' \
            'secured https://127.0.0.1:8090' 'north 10.9.0.2:1' 'line' >/etc/xp/fleet
        xppanel 2>/dev/null & panel=$!
        await 'told north | grep -q ready && ! get fleet | grep -q silent' # all of them have begun to listen
        say told; for name in between false plain secured line; do echo $name $(told $name); done
        token="Authorization: Bearer $(cat panel.token)"
        say passed; get machines/north/transport/record -X POST -H "$token"; get machines/north/picture.jpg -o $OUT/passed.jpg
        get machines/between/state; get machines/false/state
        say channel; get machines/north/channels/2/state; get machines/north/channels/9/state
        say stop; xpctl --channel 2 --json stop
        # At its very address, with all that it says passed on.
        kill -TERM $north; wait $north || true
        (there $north_options:8445 2>/dev/null) & north=$!
        (there sh -c "$(declare -f between); between 10.9.0.2 8445") & swapped=$!
        await 'get machines/north/state >$OUT/swapped; grep -q not_proven $OUT/swapped'
        kill $north $false $between $swapped $panel $network; wait || true
    )sh");
    const QByteArray told = said(result.out, "told");
    for (const char *line :
         {"between not_proven", "false not_proven", "plain wrong", "secured wrong", "line wrong"})
        EXPECT_TRUE(told.contains(line)) << line << " in " << told.toStdString();
    const QByteArray passed = said(result.out, "passed");
    EXPECT_TRUE(passed.contains("take_001.mov")) << passed.toStdString();
    EXPECT_EQ(passed.count("\"code\":\"not_proven\""), 2) << passed.toStdString();
    EXPECT_TRUE(said(result.out, "channel").contains("\"status\":\"recording\"") &&
                said(result.out, "channel").contains("there is no channel 9"))
        << said(result.out, "channel").toStdString();
    EXPECT_TRUE(said(result.out, "stop").contains("\"frames\":")) << said(result.out, "stop").toStdString();
    EXPECT_TRUE(readAll(sandbox.out("passed.jpg")).startsWith("\xff\xd8")) << "no picture came";
}
