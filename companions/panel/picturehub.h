// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/edges/qmxpreview.h"

#include <QByteArray>

#include <functional>
#include <memory>
#include <vector>

/// Somebody who gets pictures. On the server's thread.
class PictureClient
{
public:
    virtual ~PictureClient();
    /// The newest picture with its header; one that has not been sent yet is replaced by it.
    virtual void sendPicture(const std::shared_ptr<const QByteArray> &message) = 0;
};

/// The picture on the output as messages: a header of 124 bytes and a JPEG file (docs/http.md has it byte by
/// byte). A picture is coded once for all clients, and not at all while there is none.
///
/// Members on the server's thread, but file(), which is for any; "panel-picture" reads and codes.
class PictureHub
{
public:
    explicit PictureHub(std::function<void(std::function<void()>)> post);
    ~PictureHub();
    PictureHub(const PictureHub &) = delete;
    PictureHub &operator=(const PictureHub &) = delete;

    void subscribe(const std::shared_ptr<PictureClient> &client);
    void unsubscribe(const PictureClient *client);
    int clients() const { return int(_clients.size()); }
    /// The picture of now as a message; null when there is none. Codes on the caller's thread.
    std::shared_ptr<const QByteArray> file();

    static constexpr int headerSize = 124;
    static constexpr int version = 1;
    static constexpr int countAt = 104;
    static constexpr int aspectAt = 120; ///< in the header: two numbers of 16 bits
    /// The message of a picture that was captured at `time` (ns since 1970).
    static QByteArray message(const QmxPreviewPicture &picture, qint64 time, quint64 count,
                              const QByteArray &jpeg);

private:
    struct Coder;
    void tell();

    const std::function<void(std::function<void()>)> _post;
    std::vector<std::weak_ptr<PictureClient>> _clients;
    std::unique_ptr<Coder> _coder;
};
