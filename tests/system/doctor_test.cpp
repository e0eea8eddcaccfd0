// SPDX-License-Identifier: GPL-3.0-or-later
// The doctor finds what is broken and says what to do: one harm after the other, each mended again.
#include "tests/support/print.h"
#include "tests/system/sandbox.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>

#include <gtest/gtest.h>

namespace {
/// The checks behind "== NAME", by their names.
QMap<QString, QJsonObject> checksOf(const QByteArray &out, const QByteArray &name)
{
    QMap<QString, QJsonObject> checks;
    for (const QJsonValue check : QJsonDocument::fromJson(said(out, name)).object()["checks"].toArray())
        checks[check["name"].toString()] = check.toObject();
    return checks;
}

struct Harm
{
    const char *name, *check, *state, *found, *advice;
};
} // namespace

TEST(Doctor, findsEachHarmAndNamesItsRemedy)
{
    Sandbox sandbox({"--no-mediad", "--media-size", "1500M"});
    const ProgramResult result = sandbox.run(R"sh(
        look() { say $1; shift; "$@" xpctl --json doctor || [ $? = 1 ]; }
        await is input_format 576i25
        look well
        mount -o remount,ro /media/A; look read-only; mount -o remount,rw /media/A
        fallocate -l 1300M /media/A/fill; look full; rm /media/A/fill
        xpctl set --force active_media_path /var/tmp; look system-disk
        xpctl set --force active_media_path /media/none; look no-folder
        xpctl set active_media_path ''; look no-medium; xpctl set active_media_path /media/A
        umount /usr/local/share/media; look no-stills
        mount -o remount,size=120M /dev/shm; look no-memory; mount -o remount,size=500M /dev/shm
        cp /etc/xp/lumen.ini $OUT; echo '[inputs' >>/etc/xp/lumen.ini; echo 601=nonsense: >>/etc/xp/lumen.ini; look profile; cp $OUT/lumen.ini /etc/xp/lumen.ini
        for line in 602=foo://x 602=file:/nonexistent.mov '602=generator:?rate=25&bogus=1'; do
            sed "/^\[inputs\]/a $line" $OUT/lumen.ini >/etc/xp/lumen.ini; look "$line"
        done
        printf '[outputs]\nx=foo://x\n' >>/etc/xp/lumen.ini; look x=foo; cp $OUT/lumen.ini /etc/xp/lumen.ini
        echo 'xp:x:990:' >>/etc/group; echo 'xp:x:990:990::/:/bin/false' >>/etc/passwd
        chmod 755 /media/A; look not-writable; chown xp:xp /media/A
        chmod -R a+rwX /var/lib/xp; look stranger setpriv --reuid 65534 --regid 65534 --clear-groups
        chmod o-rwx /var/lib/xp; look blind setpriv --reuid 65534 --regid 65534 --clear-groups; chmod o+rx /var/lib/xp
        xpctl record >&2; look in-use; xpctl stop >&2
        echo sqlite:/etc/passwd/store.db >/etc/xp/store; look store; echo nonsense >/etc/xp/store; look address; rm /etc/xp/store
        xpctl shut-down; look no-daemon
        printf '[inputs]\n606=none:\n[outputs]\nf=file:/nonexistent/out.ts\na=alsa:nosuch\n' >>/etc/xp/lumen.ini
        xpd >>/run/xp/xpd.out 2>&1 </dev/null & await '[ $(xpctl --json doctor | grep -c nosuch) = 1 ]'; look dead; xpctl shut-down
    )sh");

    const auto well = checksOf(result.out, "well");
    for (const char *name : {"store", "access", "daemon", "profile", "inputs", "outputs", "output", "medium",
                             "stills", "shared_memory"})
        EXPECT_EQ(well[name]["state"].toString(), QString("good")) << name << result.out.toStdString();
    EXPECT_EQ(well["media_daemon"]["state"].toString(), QString("hint"));
    EXPECT_TRUE(well["disk_speed"]["found"].toString().contains(" MB/s; a 1080p50 HQ take needs 46"));

    const Harm harms[] = {
        {"read-only", "medium", "wrong", "/media/A is read-only", "fsck"},
        {"full", "medium", "wrong", "too little for a take", "delete clips"},
        {"system-disk", "medium", "wrong", "/var/tmp is no medium but a folder of the system's disk",
         "mount"},
        {"no-folder", "medium", "wrong", "/media/none is not there", "mount"},
        {"no-medium", "medium", "wrong", "no medium is active", "xpctl set active_media_path"},
        {"no-stills", "stills", "wrong", "0 of 22", "xp-stills"},
        {"no-memory", "shared_memory", "wrong", "MB free in /dev/shm", "remount"},
        {"profile", "profile", "wrong", "nonsense", "systemctl restart xpd"},
        {"602=foo://x", "inputs", "wrong", "602=foo://x: \"foo\" is no kind of address",
         "systemctl restart xpd"},
        {"602=file:/nonexistent.mov", "inputs", "wrong", "/nonexistent.mov", "lumen.ini"},
        {"602=generator:?rate=25&bogus=1", "inputs", "wrong", "the generator has no key \"bogus\"",
         "lumen.ini"},
        {"x=foo", "outputs", "wrong", "it is none of preview:", "lumen.ini"},
        {"not-writable", "medium", "wrong", "the recorder may not write into /media/A", "chown xp:xp"},
        {"stranger", "access", "wrong", "is not in the group xp", "adduser"},
        {"blind", "store", "wrong", "cannot be read by this account", "adduser"},
        {"blind", "daemon", "hint", "running as process", ""},
        {"blind", "inputs", "hint", "cannot be seen", ""},
        {"blind", "outputs", "hint", "cannot be seen", ""},
        {"blind", "medium", "hint", "not looked at", ""},
        {"blind", "disk_speed", "hint", "not looked at", ""},
        {"in-use", "disk_speed", "hint", "the recorder is in use", "stop it"},
        {"store", "store", "wrong", "/etc/passwd", "/etc/xp/store"},
        {"address", "store", "wrong", "nonsense", "/etc/xp/store"},
        {"dead", "inputs", "hint", "606=none:", "601, 602, 603"},
        {"dead", "outputs", "wrong", "out.ts: Cannot open it: No such file", "what receives it"},
        {"dead", "outputs", "wrong", "Sound output nosuch", "lumen.ini"},
        {"no-daemon", "daemon", "wrong", "not running", "systemctl start xpd"},
    };
    for (const Harm &harm : harms) {
        const QJsonObject check = checksOf(result.out, harm.name)[harm.check];
        EXPECT_EQ(check["state"].toString(), QString(harm.state)) << harm.name;
        EXPECT_TRUE(check["found"].toString().contains(harm.found))
            << harm.name << ": " << check["found"].toString().toStdString();
        EXPECT_TRUE(check["advice"].toString().contains(harm.advice))
            << harm.name << ": " << check["advice"].toString().toStdString();
    }
}
