// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/product/clip.h"
#include "platform/qmx/core/qmxenvironment.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

/// The clip in a file; nothing when it is none. A clip without frames (one that has just begun) has 0.
/// Blocks on the medium.
std::optional<Clip> scanClip(const std::string &path, const QmxEnvironment &environment);

/// Where a list of clips comes from: the medium itself, or the cache that the media daemon keeps. The finder
/// does not see the difference.
class ClipSource
{
public:
    virtual ~ClipSource();
    /// All clips of a folder, in any order; what this process records is left out, what another one records
    /// is not closed. Blocks. Nothing when the folder cannot be read.
    virtual std::optional<std::vector<Clip>> clips(const std::string &folder) = 0;
    /// The last list left out nothing that becomes a clip without a change of the folder (a take that runs).
    virtual bool isComplete() const = 0;
};

/// Reads the medium itself. What it has read stays known as long as the file does not change, so that a
/// listing costs one look at each file and opens only new ones. One thread at a time.
class MediumClipSource : public ClipSource
{
public:
    explicit MediumClipSource(const QmxEnvironment &environment);
    std::optional<std::vector<Clip>> clips(const std::string &folder) override;
    bool isComplete() const override { return _complete; }

private:
    struct Known
    {
        qint64 size = 0;
        qint64 changed = 0; ///< nanoseconds since 1970
        bool isEmpty = false;
        std::optional<Clip> clip;
    };
    std::optional<Clip> look(const std::string &path, Known &known) const;

    QmxEnvironment _environment;
    std::map<std::string, Known> _known;
    bool _complete = false;
};

/// Whether a file name is that of a clip.
bool isClipName(const std::string &name);
