// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/remote/deck/deckview.h"
#include "companions/remote/remotestatistics.h"
#include "platform/control/control.h"
#include "platform/control/deckstate.h"
#include "platform/control/who.h"

#include <QtGlobal>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <poll.h>

/// What a port needs of the program around it. One thread: the ports' own.
class RemoteContext
{
public:
    virtual ~RemoteContext();
    /// This moment of the deck, without waiting.
    virtual DeckView view() = 0;
    virtual std::shared_ptr<const DeckState> state() = 0;
    virtual qint64 now() const = 0; ///< nanoseconds of a steady clock
    /// Hands an order to the workers; `answered` comes back on the ports' thread, once, unless the port has
    /// gone by then; before it, if it may be given, `given`, see Request.
    using Answered = std::function<void(const Answer &answer)>;
    using Given = std::function<void()>;
    virtual void perform(const DeckOrder &order, const Who &who, Answered answered, Given given = {}) = 0;
    /// The clips of the active medium, likewise; an error text in place of names when they cannot be listed.
    using Clips = std::function<void(const QStringList &lines)>;
    virtual void listClips(Clips listed) = 0;
    virtual RemoteStatistics &statistics() = 0;
};

/// A row of the configuration at work: one or more descriptors of the ports' thread. Nothing here may wait.
class RemotePort
{
public:
    virtual ~RemotePort();
    /// Adds the descriptors that are waited for.
    virtual void wants(std::vector<pollfd> &polls) const = 0;
    /// Something has happened on one of them.
    virtual void ready(const pollfd &event) = 0;
    /// When look() is to be called at the latest.
    virtual std::optional<qint64> deadline() const = 0;
    /// Time has passed, or the deck is at another moment.
    virtual void look() = 0;
    /// As the configuration has it.
    virtual QString place() const = 0;
    /// Why it is not open; empty: it is.
    virtual QString problem() const = 0;
};
