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
