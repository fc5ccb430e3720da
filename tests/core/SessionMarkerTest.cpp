#include "core/SessionMarker.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "platform/Files.h"
#include "support/FileBytes.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using support::ReadBytes;

class SessionMarkerFile : public testing::Test {
protected:
    SessionMarkerFile() { CurrentSessionMarker() = {}; }

    std::filesystem::path DataPath() const { return folder_.Path() / "data"; }
    Text Data() const { return FromPath(DataPath()); }
    std::filesystem::path File() const { return DataPath() / "running.lock"; }

private:
    support::TemporaryFolder folder_;
};

TEST_F(SessionMarkerFile, HoldsSevenBytesWhileTheSessionRuns) {
    SessionMarkerBegin(Data());
    EXPECT_EQ(ReadBytes(File()), "running");
    EXPECT_EQ(CurrentSessionMarker().path, FromPath(File()));
    EXPECT_FALSE(CurrentSessionMarker().previousRunUnclean);
}

TEST_F(SessionMarkerFile, IsRemovedByACleanEndAndTheNextStartDetectsThat) {
    SessionMarkerBegin(Data());
    SessionMarkerEnd();
    EXPECT_FALSE(std::filesystem::exists(File()));
    SessionMarkerBegin(Data());
    EXPECT_FALSE(CurrentSessionMarker().previousRunUnclean);
}

TEST_F(SessionMarkerFile, IsDetectedAndRewrittenAfterAnUncleanEnd) {
    std::filesystem::create_directory(DataPath());
    support::WriteBytes(File(), "something longer than the marker");
    SessionMarkerBegin(Data());
    EXPECT_TRUE(CurrentSessionMarker().previousRunUnclean);
    EXPECT_EQ(ReadBytes(File()), "running");
    SessionMarkerEnd();
    SessionMarkerBegin(Data());
    EXPECT_FALSE(CurrentSessionMarker().previousRunUnclean);
}

TEST_F(SessionMarkerFile, ThatCannotBeWrittenOrRemovedIsNotReported) {
    support::WriteBytes(DataPath(), "a file in the way");
    EXPECT_NO_THROW(SessionMarkerBegin(Data()));
    EXPECT_FALSE(CurrentSessionMarker().previousRunUnclean);
    EXPECT_NO_THROW(SessionMarkerEnd());
}

TEST_F(SessionMarkerFile, WithoutABeginningTheEndDoesNothing) { EXPECT_NO_THROW(SessionMarkerEnd()); }

}  // namespace
}  // namespace zv
