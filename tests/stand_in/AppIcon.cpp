#include "stand_in/AppIcon.h"

namespace zv {

struct AppIcon {
    stand_in::IconRecord record;
};

template <>
void Closer<AppIcon>::operator()(AppIcon* icon) const noexcept {
    const stand_in::Call call("DestroyIcon");
    --stand_in::StandingIcons();
    delete icon;
}

Owned<AppIcon> LoadProgramIcon(int size) {
    const stand_in::Call call("LoadProgramIcon");
    if (call.Fails() || !stand_in::HasProgramIcon()) {
        return nullptr;
    }
    ++stand_in::StandingIcons();
    return Owned<AppIcon>(new AppIcon{{size, true, {}}});
}

Owned<AppIcon> MakeIcon(int size, const std::uint32_t* pixels) {
    const stand_in::Call call("MakeIcon");
    if (call.Fails()) {
        return nullptr;
    }
    ++stand_in::StandingIcons();
    return Owned<AppIcon>(new AppIcon{{size, false, {pixels, pixels + size * size}}});
}

namespace stand_in {

bool& HasProgramIcon() {
    static bool has = true;
    return has;
}

int& StandingIcons() {
    static int count = 0;
    return count;
}

void ResetIcons() { HasProgramIcon() = true; }

const IconRecord& RecordOf(const AppIcon& icon) { return icon.record; }

}  // namespace stand_in
}  // namespace zv
