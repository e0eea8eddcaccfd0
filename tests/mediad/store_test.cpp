// SPDX-License-Identifier: GPL-3.0-or-later
// The media daemon and a store that refuses, or says nothing.
#include "companions/mediad/mediastore.h"
#include "platform/store/configfactoryimpl.h"
#include "platform/store/eparam.h"
#include "tests/support/logcollector.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <chrono>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

std::unique_ptr<Config> directly(const std::string &uri)
{
    return std::unique_ptr<Config>(ConfigFactoryImpl::GetInstance()->create(uri, "mediatest", false));
}

} // namespace

TEST(MediaStore, whatCanNeverBeWrittenHoldsUpNothing)
{
    const TestDir dir;
    MediaStore store(directly("sqlite:" + dir.file("store.db").toStdString()));
    expectLog("mediastore", "takes a text without control characters; it is not written");
    store.queue({{eParam_MediaLabel, MediaWrite::Text, 0, "\x7f"},
                 {eParam_ActiveMediaPath, MediaWrite::Text, 0, "/media/A"}});
    EXPECT_TRUE(store.writeQueued());
    EXPECT_EQ(store.text(eParam_ActiveMediaPath), "/media/A");
    expectLog("mediastore", "it is not written");
    store.answer("\x1b");
    store.answer("{}");
    EXPECT_TRUE(store.writeQueued());
    EXPECT_EQ(store.text(eParam_MediaOrderState), "{}");
    const auto alarm = [&store] {
        std::string value;
        store.config().getData(eParam_AlarmStoreRefused, value);
        return store.config().descriptor(eParam_AlarmStoreRefused)->print(StoreValue::fromData(value));
    };
    EXPECT_TRUE(alarm().starts_with("warning: media_order_state takes")) << alarm();
    store.forgetLost();
    EXPECT_EQ(alarm(), "clear");
}

TEST(MediaStore, aServerThatHangsCostsAStepOneQuestion)
{
    // Its kernel takes connections; nobody ever answers.
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr *>(&address), size), 0);
    ASSERT_EQ(::listen(fd, 1000), 0);
    ASSERT_EQ(::getsockname(fd, reinterpret_cast<sockaddr *>(&address), &size), 0);
    allowLog("storestate");
    allowLog("mediastore");
    MediaStore store(directly("redis://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/one"));
    const auto began = std::chrono::steady_clock::now();
    store.beginStep();
    for (int question = 0; question < 12; ++question)
        store.text(eParam_ActiveMediaPath);
    store.queue({{eParam_ActiveMediaPath, MediaWrite::Text, 0, "/media/A"}});
    EXPECT_FALSE(store.writeQueued());
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(8));
    ::close(fd);
}
