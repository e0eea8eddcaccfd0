// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

/// The folders that a further channel of this machine sees in place of the machine's own: made, and its share
/// of every medium bound into them. Folders need root or the account of the recorder, bind mounts the right
/// to mount, and the file systems of the machine itself, not those of a service. What cannot be done is a
/// sentence each.
///
/// A channel has the folder "channel-N" on every medium; a replay channel instead sees the folder of another
/// one, and cannot change it.
namespace ChannelViews {

/// Held while a channel is made, removed or given its media, by one process of the machine at a time: what
/// follows the media makes nothing anew that is being removed, and binds nothing of a channel of which it is
/// not written yet whose clips it plays. Waits for the others, three seconds at most.
class Turn
{
public:
    Turn();
    ~Turn();
    Turn(const Turn &) = delete;
    Turn &operator=(const Turn &) = delete;

private:
    const int _fd;
};

/// File below the settings of a channel with the number of the one whose clips it plays.
QString replayFile(int channel);
/// Whose clips a replay channel plays; 0: it records its own.
int playsOf(int channel);

/// Whether this process may mount.
bool mayMount();
/// Makes the folders of a channel that are missing, for the account and group of `like` (a path).
QStringList makeFolders(int channel, const QString &like);
/// Brings what is bound in line with what is mounted below /media now.
QStringList bindMedia(int channel);
/// Lets go of all media, then removes the folders with all that is in them, and never anything of a medium;
/// false when something is left.
bool removeFolders(int channel);
/// Lets go of all media of a channel.
void release(int channel);

/// Does both for all channels, now and with each change of the mount table; ends with the process. `ready` is
/// called when it has been done once.
[[noreturn]] void follow(void (*tell)(const QStringList &problems), void (*ready)());

} // namespace ChannelViews
