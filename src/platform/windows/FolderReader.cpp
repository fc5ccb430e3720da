// Entries have the attributes, sizes and times of their files, so that a walk needs no call for each file.
#include "platform/FolderReader.h"

#include "platform/windows/Native.h"

namespace zv {

struct FolderReader {
    HANDLE search = INVALID_HANDLE_VALUE;  ///< invalid if the folder is empty or the user may not read it
    WIN32_FIND_DATAW found = {};
    bool isFoundUnread = false;
};

template <>
void Closer<FolderReader>::operator()(FolderReader* reader) const noexcept {
    if (reader->search != INVALID_HANDLE_VALUE) {
        FindClose(reader->search);
    }
    delete reader;
}

namespace {

FolderEntry EntryOf(const WIN32_FIND_DATAW& found) {
    const bool isFolder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    const bool isLink = (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    FolderEntry entry{TextOf(found.cFileName), isFolder && !isLink, std::nullopt};
    if (!isFolder && !isLink) {
        entry.facts = FileFacts{Joined(found.nFileSizeHigh, found.nFileSizeLow), TicksOf(found.ftLastWriteTime)};
    }
    return entry;
}

}  // namespace

Owned<FolderReader> OpenFolder(TextView path) {
    Owned<FolderReader> reader(new FolderReader);
    const Text pattern = JoinPath(path, u"*");
    reader->search = FindFirstFileExW(Native(pattern), FindExInfoBasic, &reader->found, FindExSearchNameMatch, nullptr,
                                      FIND_FIRST_EX_LARGE_FETCH);
    const DWORD error = GetLastError();
    reader->isFoundUnread = reader->search != INVALID_HANDLE_VALUE;
    // An empty volume's root has no entries at all.
    const bool isEmpty = error == ERROR_ACCESS_DENIED || error == ERROR_FILE_NOT_FOUND;
    return reader->isFoundUnread || isEmpty ? std::move(reader) : nullptr;
}

FolderRead ReadEntry(FolderReader& reader, FolderEntry& entry) {
    while (reader.search != INVALID_HANDLE_VALUE) {
        if (!std::exchange(reader.isFoundUnread, false) && !FindNextFileW(reader.search, &reader.found)) {
            return GetLastError() == ERROR_NO_MORE_FILES ? FolderRead::End : FolderRead::Failed;
        }
        entry = EntryOf(reader.found);
        if (entry.name != u"." && entry.name != u"..") {
            return FolderRead::Entry;
        }
    }
    return FolderRead::End;
}

}  // namespace zv
