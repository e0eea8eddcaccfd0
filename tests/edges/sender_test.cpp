// SPDX-License-Identifier: GPL-3.0-or-later
// A sender that sends something else than a signal.
#include "platform/qmx/edges/qmxsourcedecoder.h"
#include "tests/edges/pictures.h"

#include <gtest/gtest.h>

#include <thread>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

/// What an input says of an address where these bytes come.
QmxError opened(const QByteArray &sent)
{
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in here = {};
    here.sin_family = AF_INET;
    here.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof here;
    auto *address = reinterpret_cast<sockaddr *>(&here);
    EXPECT_EQ(::bind(listener, address, size) | ::listen(listener, 1), 0);
    EXPECT_EQ(::getsockname(listener, address, &size), 0);
    std::thread sender([listener, &sent] {
        const int to = ::accept(listener, nullptr, nullptr);
        for (qsizetype done = 0; done < sent.size();) {
            const ssize_t count =
                ::send(to, sent.constData() + done, size_t(sent.size() - done), MSG_NOSIGNAL);
            if (count <= 0) break;
            done += count;
        }
        ::close(to);
    });
    QmxSourceDecoder decoder(QStringLiteral("tcp://127.0.0.1:%1").arg(ntohs(here.sin_port)),
                             QmxSourceDecoder::Latency::Low, [] { return false; });
    QmxError error = decoder.open();
    ::shutdown(listener, SHUT_RDWR); // nobody is waited for who does not come
    sender.join();
    ::close(listener);
    return error;
}

} // namespace

TEST(LiveSource, takesASignalAndNothingThatNamesAnotherOne)
{
    const TestDir dir;
    const QString clip = dir.file("clip.ts"), film = dir.file("film.mkv");
    for (const QString &path : {clip, film})
        makeClip(path, QStringLiteral("720x576p25"), 50,
                 QStringLiteral("-c:v mpeg2video -pix_fmt yuv420p -c:a mp2 -ac 2").split(QLatin1Char(' ')));
    EXPECT_EQ(opened(readAll(clip)), QmxError());
    const QByteArray other = clip.toUtf8();
    for (const QByteArray &sent :
         {"#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:2\n#EXTINF:2.0,\nfile://" + other +
              "\n#EXT-X-ENDLIST\n",
          "ffconcat version 1.0\nfile " + other + '\n',
          QByteArray("v=0\r\no=- 0 0 IN IP4 127.0.0.1\r\ns=x\r\nc=IN IP4 127.0.0.1\r\nt=0 0\r\n"
                     "m=video 9922 RTP/AVP 33\r\n"),
          readAll(film)}) {
        const QmxError error = opened(sent);
        EXPECT_TRUE(error.toString().contains("what comes in is no signal"))
            << sent.first(20).constData() << qPrintable(error.toString());
    }
}
