// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

/// Gives the process a machine of its own where the recorder uses fixed names: /etc/xp, /var/lib/xp, /run/xp,
/// /var/lock, /dev/shm and the media /media/A and /media/B are empty and private, and so are its ports. Make
/// one before main(), since a process with threads cannot change its user namespace. Ends the process when
/// the machine does not allow it.
class PrivateMachine
{
public:
    explicit PrivateMachine(int mediaMegabytes = 64)
    {
        enterNamespaces();
        check(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), "make the mounts private");
        // Holds the overlays' own files, hidden again by the empty one below.
        const std::string scratch = "/dev/shm";
        memory(scratch, "1777");
        // A folder that the machine may not have is made in an overlay of its parent.
        for (const char *parent : {"/etc", "/run", "/var/lib"})
            overlay(scratch, parent);
        for (const char *folder : {"/etc/xp", "/run/xp", "/run/lock", "/var/lib/xp", "/dev/shm", "/media"})
            memory(folder, "755");
        for (const char *medium : {"/media/A", "/media/B"})
            memory(medium, "755,size=" + std::to_string(mediaMegabytes) + "m");
        startLoopback();
    }

private:
    static void check(int result, const std::string &what)
    {
        if (result == 0) return;
        std::perror(("no private machine for the test: " + what).c_str());
        std::exit(1);
    }

    static void enterNamespaces()
    {
        const uid_t user = ::geteuid();
        const gid_t group = ::getegid();
        const int spaces = CLONE_NEWNS | CLONE_NEWNET;
        check(::unshare(user == 0 ? spaces : spaces | CLONE_NEWUSER), "new namespaces");
        if (user == 0) return;
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
        std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
    }

    static void memory(const std::string &folder, const std::string &mode)
    {
        std::filesystem::create_directories(folder);
        check(::mount("tmpfs", folder.c_str(), "tmpfs", 0, ("mode=" + mode).c_str()), folder);
    }

    static void overlay(const std::string &scratch, const std::string &folder)
    {
        const std::string upper = scratch + "/upper" + folder;
        const std::string work = scratch + "/work" + folder;
        std::filesystem::create_directories(upper);
        std::filesystem::create_directories(work);
        const std::string options = "lowerdir=" + folder + ",upperdir=" + upper + ",workdir=" + work;
        check(::mount("overlay", folder.c_str(), "overlay", 0, options.c_str()), folder);
    }

    static void startLoopback()
    {
        const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
        ifreq request = {};
        std::snprintf(request.ifr_name, sizeof request.ifr_name, "lo");
        request.ifr_flags = IFF_UP;
        check(::ioctl(fd, SIOCSIFFLAGS, &request), "loopback");
        ::close(fd);
    }
};
