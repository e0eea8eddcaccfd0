// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

class QmxAudio;

/// Loudness of sound that comes frame by frame, as EBU R 128 has it, in LUFS. One thread.
class QmxLoudness
{
public:
    QmxLoudness();
    ~QmxLoudness();
    QmxLoudness(const QmxLoudness &) = delete;
    QmxLoudness &operator=(const QmxLoudness &) = delete;

    /// Begins anew when there is no sound, or another number of channels.
    void add(const QmxAudio &audio);
    /// Of the last 400 ms; not below -70.
    double momentary() const;
    /// Of the last three seconds; not below -70.
    double shortTerm() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
