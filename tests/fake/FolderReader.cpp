#include "fake/FolderReader.h"

#include <atomic>

#include "fake/Calls.h"

namespace zv {

struct FolderReader {
    std::vector<FolderEntry> entries;
    std::size_t next = 0;
};

namespace fake {
namespace {

std::atomic<int> openReaders = 0;

}  // namespace

std::map<Text, std::vector<FolderEntry>>& TheFolderEntries() {
    static std::map<Text, std::vector<FolderEntry>> entries;
    return entries;
}

int OpenFolderReaders() { return openReaders; }

}  // namespace fake

template <>
void Closer<FolderReader>::operator()(FolderReader* reader) const noexcept {
    --fake::openReaders;
    delete reader;
}

Owned<FolderReader> OpenFolder(TextView path) {
    const auto found = fake::TheFolderEntries().find(Text(path));
    if (found == fake::TheFolderEntries().end()) {
        return nullptr;
    }
    const fake::Call call("OpenFolder", ToPath(path).filename().string());
    if (call.Fails()) {
        return nullptr;
    }
    ++fake::openReaders;
    return Owned<FolderReader>(new FolderReader{found->second});
}

FolderRead ReadEntry(FolderReader& reader, FolderEntry& entry) {
    const fake::Call call("ReadEntry");
    if (call.Fails()) {
        return FolderRead::Failed;
    }
    if (reader.next == reader.entries.size()) {
        return FolderRead::End;
    }
    entry = reader.entries[reader.next++];
    return FolderRead::Entry;
}

}  // namespace zv
