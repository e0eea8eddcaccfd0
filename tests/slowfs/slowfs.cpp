// SPDX-License-Identifier: GPL-3.0-or-later
// xp-slowfs FOLDER MOUNTPOINT CONTROL: shows a folder as a file system of its own (FUSE) whose calls take as
// long as the file CONTROL says, read anew at each call: lines "CALL MS", CALL being open, create, stat,
// statfs, read, write or sync; MS -1 hangs until the line has gone. CONTROL.held gets a line for each call
// that is held up. Ends when it is unmounted.
#define FUSE_USE_VERSION 31
#include <fuse.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

std::string folder;
std::string control;

int asked(const char *call)
{
    std::ifstream file(control);
    std::string name;
    for (int ms = 0; file >> name >> ms;)
        if (name == call) return ms;
    return 0;
}

void take(const char *call)
{
    constexpr std::chrono::milliseconds step(20);
    const auto begin = std::chrono::steady_clock::now();
    if (asked(call) != 0) std::ofstream(control + ".held", std::ios::app) << call << '\n';
    for (int ms = asked(call); ms != 0; ms = asked(call)) {
        if (ms > 0 && std::chrono::steady_clock::now() - begin >= std::chrono::milliseconds(ms)) return;
        std::this_thread::sleep_for(step);
    }
}

std::string real(const char *path)
{
    return folder + path;
}
int result(int value)
{
    return value < 0 ? -errno : value;
}
int fileOf(const fuse_file_info *info)
{
    return static_cast<int>(info->fh);
}

int openFile(const char *path, int flags, mode_t mode, fuse_file_info *info)
{
    const int fd = ::open(real(path).c_str(), flags & ~O_DIRECT, mode);
    if (fd < 0) return -errno;
    info->fh = static_cast<uint64_t>(fd);
    info->direct_io = 1;
    return 0;
}

int list(const char *path, void *buffer, fuse_fill_dir_t fill, off_t, fuse_file_info *, fuse_readdir_flags)
{
    DIR *entries = opendir(real(path).c_str());
    if (!entries) return -errno;
    while (const dirent *entry = readdir(entries))
        fill(buffer, entry->d_name, nullptr, 0, fuse_fill_dir_flags{});
    closedir(entries);
    return 0;
}

fuse_operations operations()
{
    fuse_operations calls = {};
    calls.getattr = [](const char *path, struct stat *data, fuse_file_info *) {
        take("stat");
        return result(lstat(real(path).c_str(), data));
    };
    calls.statfs = [](const char *path, struct statvfs *data) {
        take("statfs");
        return result(statvfs(real(path).c_str(), data));
    };
    calls.readdir = list;
    calls.open = [](const char *path, fuse_file_info *info) {
        take("open");
        return openFile(path, info->flags, 0, info);
    };
    calls.create = [](const char *path, mode_t mode, fuse_file_info *info) {
        take("create");
        return openFile(path, info->flags | O_CREAT, mode, info);
    };
    calls.read = [](const char *, char *data, size_t size, off_t at, fuse_file_info *info) {
        take("read");
        return result(static_cast<int>(pread(fileOf(info), data, size, at)));
    };
    calls.write = [](const char *, const char *data, size_t size, off_t at, fuse_file_info *info) {
        take("write");
        return result(static_cast<int>(pwrite(fileOf(info), data, size, at)));
    };
    calls.fsync = [](const char *, int, fuse_file_info *info) {
        take("sync");
        return result(fdatasync(fileOf(info)));
    };
    calls.truncate = [](const char *path, off_t size, fuse_file_info *info) {
        return result(info ? ftruncate(fileOf(info), size) : ::truncate(real(path).c_str(), size));
    };
    calls.fallocate = [](const char *, int mode, off_t at, off_t size, fuse_file_info *info) {
        return result(::fallocate(fileOf(info), mode, at, size));
    };
    calls.release = [](const char *, fuse_file_info *info) { return result(close(fileOf(info))); };
    calls.unlink = [](const char *path) { return result(::unlink(real(path).c_str())); };
    calls.mkdir = [](const char *path, mode_t mode) { return result(::mkdir(real(path).c_str(), mode)); };
    calls.rename = [](const char *from, const char *to, unsigned) {
        return result(::rename(real(from).c_str(), real(to).c_str()));
    };
    return calls;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 4) return EXIT_FAILURE;
    folder = argv[1];
    control = argv[3];
    const fuse_operations calls = operations();
    char *arguments[] = {argv[0], argv[2], nullptr};
    // In the background once it is mounted; a thread a call, so that one that hangs holds up no other.
    return fuse_main(2, arguments, &calls, nullptr);
}
