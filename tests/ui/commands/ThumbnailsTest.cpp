// The thumbnails of a page from their request to the cache, and at the program's end.
#include "ui/commands/Thumbnails.h"

#include <thread>

#include "ui/Interface.h"
#include "ui/commands/MediaViewer.h"
#include "ui/navigation/Navigation.h"
#include "ui/windows/MainWindow.h"

namespace zv {
namespace {

using fake::CountOf;
using fake::TheWindows;
using testing::ElementsAre;
using testing::IsEmpty;

class Thumbnails : public Interface {
protected:
    Thumbnails() { OpenMainWindow(); }

    /// Captures "0.mp4", "1.mp4" and so on, each with a picture of its own width.
    void AddFiles(int count) {
        for (int i = 0; i < count; ++i) {
            const Text path = u"/captures/" + Decimal(i) + u".mp4";
            files_.push_back({path, mediaKind::clip, 1000, 100 + i, u"Game"});
            fake::ThePictures()[path] = fake::PictureOf(0, i + 1, 1);
        }
    }
    void Queue(std::int32_t first = 0) {
        std::vector<const MediaFile*> visible;
        for (const MediaFile& file : files_) {
            visible.push_back(&file);
        }
        Ui().gallery.galleryFirstIndex = first;
        QueueVisibleThumbnails(visible);
    }
    void FinishBatch() {
        AwaitThumbnails();
        Collect();
    }
    void QueueAndFinish(std::int32_t first = 0) {
        Queue(first);
        FinishBatch();
    }
    /// The files that the system was asked for since the last call.
    std::vector<std::string> Requested() {
        std::vector<std::string> names;
        for (const std::string& call : fake::CallLog()) {
            constexpr std::string_view beginning = "MakeThumbnail /captures/";
            if (call.starts_with(beginning)) {
                names.push_back(call.substr(beginning.size()));
            }
        }
        names.erase(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(seen_));
        seen_ += names.size();
        return names;
    }
    void FillCache(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            Cache()[u"old" + Decimal(static_cast<std::int64_t>(i))] = std::make_shared<MediaThumbnail>();
        }
    }
    static std::map<Text, std::shared_ptr<MediaThumbnail>>& Cache() { return Ui().library.thumbnailCache; }
    static bool IsBusy() { return Ui().library.thumbnailSlot.IsBusy(); }
    std::int32_t WidthOf(std::size_t index) const { return FindThumbnail(files_[index])->bitmap.width; }

    std::vector<MediaFile> files_;
    std::size_t seen_ = 0;
};

TEST_F(Thumbnails, HaveAKeyOfPathAndTime) {
    struct Row {
        std::int64_t modified;
        TextView key;
    };
    for (const Row& row : {Row{0, u"/a b.mp4|0"}, Row{132223104000000000, u"/a b.mp4|132223104000000000"},
                           Row{-5, u"/a b.mp4|-5"}, Row{INT64_MIN, u"/a b.mp4|-9223372036854775808"}}) {
        MediaFile file;
        file.path = u"/a b.mp4";
        file.modified = row.modified;
        EXPECT_EQ(ThumbnailKey(file), row.key);
    }
}

TEST_F(Thumbnails, AreMadeForTheSixVisibleFilesAndRepaintBothWindows) {
    AddFiles(20);
    Queue(7);
    EXPECT_EQ(TheWindows().timers[43], 16U);
    AwaitThumbnails();
    EXPECT_THAT(Cache(), IsEmpty()) << "nothing is stored before the timer collects it";
    Tick();
    EXPECT_THAT(Cache(), IsEmpty()) << "the slow timer does not collect it";
    fake::RecordOf(*window_).invalidations = 0;
    Collect();
    EXPECT_GE(fake::RecordOf(*window_).invalidations, 1);
    EXPECT_THAT(Requested(), ElementsAre("7.mp4", "8.mp4", "9.mp4", "10.mp4", "11.mp4", "12.mp4"));
    EXPECT_EQ(Cache().size(), 6U);
    EXPECT_EQ(WidthOf(12), 13);
    EXPECT_EQ(FindThumbnail(files_[6]), nullptr);
    EXPECT_FALSE(IsBusy());
    EXPECT_FALSE(TheWindows().timers.contains(43));
    EXPECT_THAT(fake::CallLog(), testing::Contains("MakeThumbnails 320x180"));
}

TEST_F(Thumbnails, OfAShortPageAreMadeForItsFilesOnly) {
    AddFiles(8);
    QueueAndFinish(6);
    EXPECT_THAT(Requested(), ElementsAre("6.mp4", "7.mp4"));
}

TEST_F(Thumbnails, StartNoJobWithoutAMissingOne) {
    AddFiles(7);
    QueueAndFinish();
    Requested();
    Queue();
    EXPECT_FALSE(IsBusy());
    EXPECT_FALSE(TheWindows().timers.contains(43));
    QueueAndFinish(1);
    EXPECT_THAT(Requested(), ElementsAre("6.mp4")) << "only the one that the cache does not have";
    files_.clear();
    Queue();
    EXPECT_FALSE(IsBusy()) << "an empty page";
}

TEST_F(Thumbnails, AreNotRequestedWhileABatchRuns) {
    AddFiles(18);
    gate_.Hold("MakeThumbnail");
    Queue(0);
    RunTo("MakeThumbnail");
    Queue(6);
    Queue(12);
    gate_.Open();
    AwaitThumbnails();
    Queue(6);
    EXPECT_EQ(CountOf("MakeThumbnails"), 1) << "a finished batch is collected first";
    Collect();
    EXPECT_EQ(Cache().size(), 6U);
    Requested();
    QueueAndFinish(12);
    EXPECT_THAT(Requested(), ElementsAre("12.mp4", "13.mp4", "14.mp4", "15.mp4", "16.mp4", "17.mp4"));
}

TEST_F(Thumbnails, OfFilesWithoutAPictureAreNotRequestedAgainUntilTheFileChanges) {
    AddFiles(1);
    fake::ThePictures().clear();
    QueueAndFinish();
    EXPECT_FALSE(FindThumbnail(files_[0])->HasPicture());
    Queue();
    EXPECT_FALSE(IsBusy());
    ++files_[0].modified;
    QueueAndFinish();
    EXPECT_EQ(CountOf("MakeThumbnails"), 2);
    EXPECT_EQ(Cache().size(), 2U) << "the entry of the former time stays";
}

TEST_F(Thumbnails, EmptyACacheOfMoreThanNinetySixBeforeTheNextBatch) {
    struct Row {
        std::size_t before;
        std::size_t after;
    };
    for (const Row& row : {Row{95, 97}, Row{96, 98}, Row{97, 2}, Row{102, 2}}) {
        Cache().clear();
        files_.clear();
        AddFiles(2);
        FillCache(row.before);
        QueueAndFinish();
        EXPECT_EQ(Cache().size(), row.after) << row.before;
    }
}

TEST_F(Thumbnails, ReplaceAnEntryWithTheSameKey) {
    AddFiles(1);
    Queue();
    AwaitThumbnails();
    Cache()[ThumbnailKey(files_[0])] = std::make_shared<MediaThumbnail>();
    Collect();
    EXPECT_TRUE(FindThumbnail(files_[0])->HasPicture());
}

TEST_F(Thumbnails, KeepThoseBeforeAnExceptionAndRequestTheRestAgain) {
    AddFiles(3);
    fake::ThrowInCall("MakeThumbnail", 2);
    QueueAndFinish();
    EXPECT_EQ(Cache().size(), 1U);
    Requested();
    QueueAndFinish();
    EXPECT_THAT(Requested(), ElementsAre("1.mp4", "2.mp4"));
    EXPECT_EQ(WidthOf(2), 3);
}

TEST_F(Thumbnails, DoNotRepaintAfterABatchThatMadeNone) {
    AddFiles(1);
    fake::ThrowInCall("MakeThumbnails", 1);
    fake::RecordOf(*window_).invalidations = 0;
    QueueAndFinish();
    EXPECT_EQ(fake::RecordOf(*window_).invalidations, 0) << "each repaint would start the next batch";
    EXPECT_FALSE(IsBusy());
    EXPECT_FALSE(TheWindows().timers.contains(43));
}

TEST_F(Thumbnails, OfANegativeFirstIndexAreThoseOfTheFirstPage) {
    AddFiles(2);
    QueueAndFinish(-3);
    EXPECT_EQ(Cache().size(), 2U);
}

TEST_F(Thumbnails, AreStoppedWaitedForAndReleasedByTheShutdown) {
    AddFiles(2);
    QueueAndFinish();
    const std::weak_ptr<MediaThumbnail> kept = FindThumbnail(files_[0]);
    files_[1].modified = 0;
    bool ended = false;
    onCall_ = [&](const std::string& name, int) {
        if (name == "StopAll") {
            ended = Ui().library.thumbnailSlot.IsFinished() && kept.expired() && Ui().pictureStop.stop_requested();
        }
    };
    gate_.Hold("MakeThumbnail");
    Queue();
    std::thread release = OpenGateUnless("StopAll");
    ExitProgram();
    release.join();
    EXPECT_TRUE(ended);
}

TEST_F(Thumbnails, AreNotMadeAfterARequestToStopAndNoWholeImageIsRead) {
    AddFiles(1);
    files_[0].kind = mediaKind::screenshot;
    Ui().pictureStop.request_stop();
    QueueAndFinish();
    OpenMediaViewer(files_[0]);
    Ui().viewer.viewerImageSlot.Wait();
    EXPECT_THAT(fake::CallLog(), testing::IsSupersetOf({"Stopped MakeThumbnail", "Stopped LoadPicture"}));
}

}  // namespace
}  // namespace zv
