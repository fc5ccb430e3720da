#include "fake/AppIcon.h"

namespace zv {

struct AppIcon {
    fake::IconRecord record;
};

template <>
void Closer<AppIcon>::operator()(AppIcon* icon) const noexcept {
    const fake::Call call("DestroyIcon");
    --fake::LiveIcons();
    delete icon;
}

Owned<AppIcon> LoadProgramIcon(int size) {
    const fake::Call call("LoadProgramIcon");
    if (call.Fails() || !fake::HasProgramIcon()) {
        return nullptr;
    }
    ++fake::LiveIcons();
    return Owned<AppIcon>(new AppIcon{{size, true, {}}});
}

Owned<AppIcon> MakeIcon(int size, const std::uint32_t* pixels) {
    const fake::Call call("MakeIcon");
    if (call.Fails()) {
        return nullptr;
    }
    ++fake::LiveIcons();
    return Owned<AppIcon>(new AppIcon{{size, false, {pixels, pixels + size * size}}});
}

namespace fake {

bool& HasProgramIcon() {
    static bool has = true;
    return has;
}

int& LiveIcons() {
    static int count = 0;
    return count;
}

void ResetIcons() { HasProgramIcon() = true; }

const IconRecord& RecordOf(const AppIcon& icon) { return icon.record; }

}  // namespace fake
}  // namespace zv
