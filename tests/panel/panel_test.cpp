// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/access.h"
#include "companions/panel/jpeg.h"
#include "companions/panel/panel.h"

#include "tests/support/print.h"
#include "tests/support/testfiles.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <array>

#include <sys/stat.h>
#include <unistd.h>

TEST(Panel, takesAddressesApartAndNeverLeadsOutOfAFolder)
{
    const auto target = parseTarget("/api/v1/clips/a%20b%2B.mov?x=1+2&y=%C3%A4&z");
    ASSERT_TRUE(target);
    EXPECT_EQ(target->parts, (QStringList{"api", "v1", "clips", "a b+.mov"}));
    EXPECT_EQ(target->query, (QMap<QString, QString>{{"x", "1 2"}, {"y", "ä"}, {"z", ""}}));
    for (const char *wrong :
         {"", "x", "/%", "/%4", "/%zz", "/%00", "/a/../b", "/a/%2e%2e/b", "/%2E%2e", "/a/.%2e", "/a%2fb",
          "/..%2fetc", "/%c0%ae%c0%ae", "/%ff", "/?a=%ff", "/?%", "http://h/"})
        EXPECT_FALSE(parseTarget(wrong)) << wrong;
    EXPECT_EQ(findRoute("GET", {"api", "v1", "clips", "x", "file"}).words, QStringList{"x"});
    EXPECT_EQ(findRoute("DELETE", {"api", "v1", "state"}).refusal->status, 405);
    EXPECT_EQ(findRoute("GET", {"api", "v1", "nothing"}).refusal->status, 404);
    EXPECT_EQ(findRoute("GET", {"api", "v1", "clips", "", "file"}).refusal->status, 404);
}

TEST(Panel, takesAndWritesAccountsInAFileOfItsOwnOnly)
{
    QTemporaryDir folder;
    const QByteArray file = QFile::encodeName(folder.filePath("users.json"));
    const QByteArray victim = QFile::encodeName(folder.filePath("victim"));
    ASSERT_EQ(Accounts(victim).set("evil", Role::Engineer, "correct horse"), QString());
    const QByteArray secret = readAll(victim);
    const auto pipe = [](const char *, const char *name) { return mkfifo(name, 0600); };
    using Put = int (*)(const char *, const char *);
    for (const Put put : {Put(symlink), Put(link), Put(pipe)}) {
        ASSERT_EQ(put(victim.constData(), file.constData()), 0);
        Accounts accounts(file);
        EXPECT_TRUE(accounts.isEmpty());
        EXPECT_TRUE(
            accounts.set("anna", Role::View, "correct horse").contains("no account is taken from it"));
        EXPECT_EQ(readAll(victim), secret);
        ASSERT_EQ(unlink(file.constData()), 0);
    }
    QFile::rename(victim, file);
    ASSERT_EQ(symlink(folder.path().toLocal8Bit().constData(), victim.constData()), 0);
    EXPECT_TRUE(Accounts(victim + "/users.json").isEmpty()) << "nor by a folder that is a link";
    EXPECT_EQ(Accounts(file).all().size(), 1);
}

TEST(Panel, letsInOwnPagesAndProgramsOnly)
{
    QTemporaryDir folder;
    Accounts accounts(folder.filePath("users.json"));
    PanelOptions options;
    options.hosts = QStringList{"recorder.example"};
    Access access(options, accounts);
    struct Row
    {
        const char *method;
        QMap<QByteArray, QByteArray> headers;
        int status; // 0: let in
    };
    const Row rows[] = {
        {"GET", {{"host", "127.0.0.1:8090"}}, 0},
        {"GET", {{"host", "[::1]:8090"}}, 0},
        {"GET", {{"host", "Recorder.example"}}, 0},
        {"GET", {{"host", "evil.example"}}, 421},
        {"GET", {{"host", "127.0.0.1.evil.example"}}, 421},
        {"GET", {}, 400},
        {"GET", {{"host", "127.0.0.1:8090,evil.example"}}, 400},
        {"POST", {{"host", "localhost:1"}}, 0},
        {"POST",
         {{"host", "localhost:1"}, {"origin", "http://localhost:1"}, {"sec-fetch-site", "same-origin"}},
         0},
        {"POST", {{"host", "localhost:1"}, {"origin", "http://localhost:2"}}, 403},
        {"POST", {{"host", "localhost:1"}, {"origin", "null"}}, 403},
        {"GET", {{"host", "localhost:1"}, {"origin", "http://evil.example"}}, 403},
        {"POST", {{"host", "localhost:1"}, {"sec-fetch-site", "cross-site"}}, 403},
        {"POST", {{"host", "localhost:1"}, {"sec-fetch-mode", "cors"}}, 403}, // whatever it tells
        {"GET",
         {{"host", "localhost:1"}, {"sec-fetch-site", "cross-site"}, {"sec-fetch-mode", "no-cors"}},
         403},
        {"GET",
         {{"host", "localhost:1"}, {"sec-fetch-site", "cross-site"}, {"sec-fetch-mode", "navigate"}},
         0},
    };
    for (const Row &row : rows) {
        HttpCall call;
        call.method = row.method;
        call.headers = row.headers;
        const auto refusal = access.refusal(call);
        EXPECT_EQ(refusal ? refusal->status : 0, row.status)
            << row.method << " " << row.headers.value("host").toStdString();
    }

    ASSERT_EQ(access.writeToken(folder.filePath("token")), QString());
    Access after(PanelOptions(), accounts);
    ASSERT_EQ(after.writeToken(folder.filePath("token")), QString());
    EXPECT_EQ(after.token(), access.token()) << "a page goes on after a restart";
    QFile::setPermissions(folder.filePath("token"), QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther);
    ASSERT_EQ(after.writeToken(folder.filePath("token")), QString());
    EXPECT_NE(after.token(), access.token()) << "others could read it";
    ASSERT_EQ(access.writeToken(folder.filePath("token")), QString());
    EXPECT_EQ(QFile(folder.filePath("token")).permissions() &
                  (QFile::ReadOther | QFile::WriteGroup | QFile::WriteOther),
              0);
    const QByteArray pipe = QFile::encodeName(folder.filePath("token"));
    QFile::remove(folder.filePath("token"));
    ASSERT_EQ(mkfifo(pipe.constData(), 0600), 0);
    ASSERT_EQ(access.writeToken(folder.filePath("token")), QString()) << "a pipe is not waited for";
    EXPECT_EQ(readAll(folder.filePath("token")).trimmed(), access.token().toLatin1());
    ASSERT_EQ(accounts.set("anna", Role::Operate, "correct horse"), QString());
    EXPECT_NE(accounts.set("../x", Role::Operate, "correct horse"), QString());
    EXPECT_NE(accounts.set("bert", Role::Operate, "short"), QString());
    EXPECT_FALSE(readAll(folder.filePath("users.json")).contains("correct"));
    EXPECT_EQ(accounts.check("anna", "correct horse"), Role::Operate);
    EXPECT_FALSE(accounts.check("anna", "wrong horse"));
    EXPECT_FALSE(accounts.check("nobody", "correct horse"));
    QString program;
    ASSERT_EQ(accounts.addToken("anna", program), QString());
    const QString session = access.begin("anna", Role::Operate);
    const auto roleWith = [&access](const QByteArray &token) {
        HttpCall call;
        call.headers["authorization"] = "Bearer " + token;
        return access.identify(call) ? call.caller.role : Role::Nobody;
    };
    EXPECT_EQ(roleWith(access.token().toLatin1()), Role::Engineer);
    EXPECT_EQ(roleWith(session.toLatin1()), Role::Operate);
    EXPECT_EQ(roleWith(program.toLatin1()), Role::Operate);
    EXPECT_EQ(roleWith(access.token().toLatin1().chopped(1)), Role::Nobody);
    access.end(session);
    EXPECT_EQ(roleWith(session.toLatin1()), Role::Nobody);
    HttpCall nobody;
    EXPECT_TRUE(access.identify(nobody));
    EXPECT_EQ(nobody.caller.role, Role::View) << "everybody on this machine may look";
    for (int i = 0; i < 8; ++i)
        access.failed("192.0.2.1");
    EXPECT_FALSE(access.mayTry("192.0.2.1"));
    EXPECT_TRUE(access.mayTry("192.0.2.2"));
}

TEST(Panel, picturesHaveTheColoursOfTheirBars)
{
    struct Colour
    {
        double r, g, b;
    };
    const Colour bars[] = {{.75, .75, .75}, {.75, .75, 0}, {0, .75, .75}, {0, .75, 0},
                           {.75, 0, .75},   {.75, 0, 0},   {0, 0, .75},   {0, 0, 0}};
    constexpr int barWidth = 48;
    constexpr int height = 90; // no whole number of blocks
    for (const bool isHigh : {true, false}) {
        const double red = isHigh ? 0.2126 : 0.299, blue = isHigh ? 0.0722 : 0.114;
        QmxPreviewPicture picture;
        picture.format = isHigh ? "1920x1080p25" : "720x576i25";
        picture.width = barWidth * int(std::size(bars));
        picture.height = height;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < picture.width; ++x) {
                const Colour &c = bars[x / barWidth];
                const double luma = red * c.r + (1 - red - blue) * c.g + blue * c.b;
                picture.luma.append(char(qRound(16 + 219 * luma)));
                if (x % 2 || y % 2) continue;
                picture.cb.append(char(qRound(128 + 224 * (c.b - luma) / (2 * (1 - blue)))));
                picture.cr.append(char(qRound(128 + 224 * (c.r - luma) / (2 * (1 - red)))));
            }
        QTemporaryDir folder;
        QFile file(folder.filePath("bars.jpg"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(JpegMaker().make(picture));
        file.close();
        // Read by a decoder that is not ours, as a browser would: full range, BT.601.
        const ProgramResult rgb =
            runProgram("ffmpeg", {"-v", "error", "-i", file.fileName(), "-vf",
                                  "scale=out_range=full:flags=accurate_rnd+full_chroma_int", "-pix_fmt",
                                  "rgb24", "-f", "rawvideo", "-"});
        ASSERT_EQ(rgb.out.size(), qsizetype(3) * picture.width * height) << rgb.err.toStdString();
        for (size_t bar = 0; bar < std::size(bars); ++bar) {
            const qsizetype at =
                3 * (qsizetype(height / 2) * picture.width + qsizetype(bar) * barWidth + barWidth / 2);
            const double wanted[] = {bars[bar].r, bars[bar].g, bars[bar].b};
            for (int i = 0; i < 3; ++i)
                EXPECT_NEAR(uchar(rgb.out[at + i]), 255 * wanted[i], 3)
                    << "bar " << bar << " part " << i << " high " << isHigh;
        }
    }
}
