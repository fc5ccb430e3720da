// A marker whose existence the system cannot check.
#include <gmock/gmock.h>

#include <filesystem>

#include "core/SessionMarker.h"
#include "platform/Files.h"
#include "support/SelfLink.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

TEST(UnreadableMarker, ThrowsAnError) {
    CurrentSessionMarker() = {};
    const support::TemporaryFolder folder;
    support::MakeSelfLink(folder.Path() / "running.lock");
    try {
        SessionMarkerBegin(FromPath(folder.Path()));
        FAIL() << "nothing was raised";
    } catch (const std::filesystem::filesystem_error& raised) {
        EXPECT_THAT(raised.what(), testing::HasSubstr("exists"));
    }
}

}  // namespace
}  // namespace zv
