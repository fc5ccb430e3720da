#include "platform/linux/posix/PipeFolder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string_view>

#include "platform/linux/posix/EnvironmentLock.h"
#include "platform/linux/posix/Posix.h"

namespace zv {
namespace {

struct PipeFolder {
    std::mutex lock;
    int pipes = 0;
    Descriptor hold;  ///< the folder's descriptor, which owns the lock
};

PipeFolder& TheFolder() {
    static PipeFolder folder;
    return folder;
}

bool IsUsable(const char* folder) { return folder != nullptr && *folder == '/' && access(folder, W_OK | X_OK) == 0; }

std::string BaseFolder() {
    const std::lock_guard guard(EnvironmentLock());
    for (const char* name : {"XDG_RUNTIME_DIR", "TMPDIR"}) {
        const char* folder = std::getenv(name);
        if (IsUsable(folder)) {
            return folder;
        }
    }
    return "/tmp";
}

std::string UserPrefix() { return "zorvel-" + std::to_string(getuid()) + "-"; }

/// Returns true for the prefix followed by a process id and nothing else.
bool IsPipeFolderName(std::string_view name) {
    const std::string prefix = UserPrefix();
    return name.starts_with(prefix) && name.size() > prefix.size() &&
           name.find_first_not_of("0123456789", prefix.size()) == std::string_view::npos;
}

/// Locks the folder. Returns an empty descriptor if another process holds the lock, or if other users can access the
/// folder.
Descriptor LockFolder(const std::string& path) {
    Descriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat opened {};
    struct stat named {};
    const bool ours = folder.Held() && fstat(folder.Get(), &opened) == 0 && opened.st_uid == getuid() &&
                      (opened.st_mode & 077U) == 0 && flock(folder.Get(), LOCK_EX | LOCK_NB) == 0;
    // The previous owner of the lock may have removed the folder before it released the lock.
    const bool still = ours && stat(path.c_str(), &named) == 0 && named.st_ino == opened.st_ino;
    return still ? std::move(folder) : Descriptor();
}

struct CloseFolder {
    void operator()(DIR* folder) const { closedir(folder); }
};

/// Calls `each` with every name in a folder. The iterators of the standard library would terminate the process if
/// memory is exhausted.
template <class Each>
void ForEachName(const std::string& path, Each each) {
    const std::unique_ptr<DIR, CloseFolder> folder(opendir(path.c_str()));
    while (const dirent* entry = folder ? readdir(folder.get()) : nullptr) {
        each(std::string_view(entry->d_name));
    }
}

void EmptyFolder(const std::string& path) {
    ForEachName(path, [&](std::string_view name) { unlink((path + "/").append(name).c_str()); });
}

/// Removes the folders of killed processes.
void RemoveLeftovers() {
    const std::string& own = PipeFolderPath();
    const std::string parent = own.substr(0, own.rfind('/') + 1);
    ForEachName(parent, [&](std::string_view name) {
        const std::string path = parent + std::string(name);
        if (!IsPipeFolderName(name) || path == own) {
            return;
        }
        const Descriptor lock = LockFolder(path);
        if (lock.Held()) {
            EmptyFolder(path);
            rmdir(path.c_str());
        }
    });
}

/// Makes and locks this process's folder. An existing folder of this name belonged to an earlier process with the same
/// process id.
Descriptor MakeFolder(const std::string& path) {
    constexpr int attempts = 100;  // between the two steps, another process may remove it as that of a killed process
    constexpr useconds_t pauseUs = 1000;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const bool fresh = mkdir(path.c_str(), 0700) == 0;
        if (!fresh && errno != EEXIST) {
            return {};
        }
        Descriptor folder = LockFolder(path);
        if (folder.Held()) {
            if (!fresh) {
                EmptyFolder(path);
            }
            return folder;
        }
        usleep(pauseUs);
    }
    errno = EACCES;
    return {};
}

}  // namespace

const std::string& PipeFolderPath() {
    static const std::string path = BaseFolder() + "/" + UserPrefix() + std::to_string(getpid());
    return path;
}

bool AcquirePipeFolder() {
    PipeFolder& folder = TheFolder();
    const std::lock_guard guard(folder.lock);
    if (folder.pipes == 0) {
        RemoveLeftovers();
        folder.hold = MakeFolder(PipeFolderPath());
        if (!folder.hold.Held()) {
            return false;
        }
    }
    ++folder.pipes;
    return true;
}

void ReleasePipeFolder() {
    PipeFolder& folder = TheFolder();
    const std::lock_guard guard(folder.lock);
    if (--folder.pipes == 0) {
        rmdir(PipeFolderPath().c_str());
        folder.hold.Reset();
    }
}

}  // namespace zv
