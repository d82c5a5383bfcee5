// The cloud-file helper: local files at once, and a download played out by a
// test provider on a clock that moves only when told.

#include "tq/system/UbiquityFiles.h"

#include <gtest/gtest.h>

#include <atomic>

#include "tests/support/Eventually.h"
#include "tq/platform/dispatch/NotificationCenter.h"
#include "tq/platform/system/Clocks.h"
#include "tq/platform/system/CloudFiles.h"

namespace tq {
namespace {

using tq::testing::eventually;
using tq::testing::Recorder;

// A cloud file that arrives after a given number of looks at its size.
class PlayedOutDownload : public CloudFiles {
 public:
  std::optional<bool> ubiquitous = true;
  std::optional<DownloadingStatus> status = DownloadingStatus::NotDownloaded;
  bool startSucceeds = true;
  int looksBeforeArrival = 2;  // negative: never arrives
  mutable std::atomic<int> looks{0};
  mutable std::atomic<int> starts{0};

  std::optional<bool> isUbiquitousItem(const std::string&, CloudFileError* error) const override {
    if (!ubiquitous && error) *error = {"TQTestErrorDomain", 256, "cannot read the item"};
    return ubiquitous;
  }
  std::optional<DownloadingStatus> downloadingStatus(const std::string&, CloudFileError* error) const override {
    if (!status && error) *error = {"TQTestErrorDomain", 257, "cannot read the status"};
    return status;
  }
  bool startDownloading(const std::string&, CloudFileError* error) const override {
    ++starts;
    if (!startSucceeds && error) *error = {"TQTestErrorDomain", 4, "refused"};
    return startSucceeds;
  }
  std::optional<long long> downloadedSize(const std::string&) const override {
    int look = ++looks;
    return looksBeforeArrival >= 0 && look > looksBeforeArrival ? 1234 : 0;
  }
};

struct Outcome {
  std::optional<std::string> url;
  Ref<Error> error;
};

class UbiquityFilesTest : public ::testing::Test {
 protected:
  UbiquityFilesTest() {
    for (const char* name : {Ubiquity::StartedDownloadingNotification, Ubiquity::FinishedDownloadingNotification}) {
      tokens_.push_back(NotificationCenter::defaultCenter()->addObserverForName(
          str(name), nullptr, nullptr,
          [this](const Ref<Notification>& n) { notes_(n->name()->utf8() + " " + describeUTF8(n->object())); }));
    }
  }
  ~UbiquityFilesTest() override {
    for (const auto& token : tokens_) NotificationCenter::defaultCenter()->removeObserver(token);
  }

  void manage(const std::string& url) {
    Ubiquity::manageUbiquityFileIfNecessaryWithCompletion(url, [this](const auto& url, const auto& error) {
      std::lock_guard lock(mutex_);
      outcome_ = Outcome{url, error};
    });
  }
  std::optional<Outcome> outcome() {
    std::lock_guard lock(mutex_);
    return outcome_;
  }
  bool finished() {
    return eventually([&] { return outcome().has_value(); }, 10.0);
  }
  // Moves the clock one poll at a time until the helper is done.
  void pollUntilDone(int maxPolls) {
    for (int i = 0; i < maxPolls && !outcome(); ++i) {
      if (!eventually([&] { return clock_->sleepers() == 1 || outcome().has_value(); }, 10.0)) return;
      if (outcome()) return;
      const int looked = provider_->looks.load();
      clock_->advance(std::chrono::milliseconds(250));
      eventually([&] { return provider_->looks.load() > looked; }, 10.0);
    }
  }

  std::shared_ptr<PlayedOutDownload> provider_ = std::make_shared<PlayedOutDownload>();
  ScopedCloudFiles installedProvider_{provider_};
  std::shared_ptr<ManualClock> clock_ = std::make_shared<ManualClock>();
  ScopedClock<MonotonicClock> installedClock_{clock_};
  std::vector<Id> tokens_;
  Recorder<> notes_;
  std::mutex mutex_;
  std::optional<Outcome> outcome_;
};

TEST_F(UbiquityFilesTest, TheDefaultProviderHasNoCloudFilesSoTheURLComesBackAtOnce) {
  ScopedCloudFiles real(nullptr);
  manage("file:///tmp/letter.eml");
  ASSERT_TRUE(outcome()) << "called before returning";
  EXPECT_EQ(outcome()->url, "file:///tmp/letter.eml");
  EXPECT_FALSE(outcome()->error);
}

TEST_F(UbiquityFilesTest, AnswersAtOnceUnlessTheFileStillHasToBeDownloaded) {
  using Status = CloudFiles::DownloadingStatus;
  struct Row {
    std::optional<bool> ubiquitous;
    std::optional<Status> status;
    bool startSucceeds;
    std::optional<std::string> url;  // what the completion gets
    std::int64_t code;               // its error's; 0 for none
  };
  const Row rows[] = {
      {true, Status::Current, true, "/cloud/a", 0},
      {true, std::nullopt, true, "/cloud/a", 257},  // the URL, with the error of the status read
      {std::nullopt, Status::Current, true, std::nullopt, 256},
      {true, Status::NotDownloaded, false, std::nullopt, 4},  // a refused download
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.code);
    provider_->ubiquitous = row.ubiquitous;
    provider_->status = row.status;
    provider_->startSucceeds = row.startSucceeds;
    outcome_.reset();
    manage("/cloud/a");
    ASSERT_TRUE(outcome()) << "called before returning";
    EXPECT_EQ(outcome()->url, row.url);
    EXPECT_EQ(outcome()->error ? outcome()->error->code() : 0, row.code);
    if (outcome()->error) EXPECT_EQ(outcome()->error->domain(), "TQTestErrorDomain");
  }
  EXPECT_EQ(provider_->starts.load(), 1) << "only the download that has to be made is started";
}

TEST_F(UbiquityFilesTest, AFileArrivingWithinASecondPostsNoNotifications) {
  provider_->looksBeforeArrival = 2;
  manage("/cloud/quick");
  pollUntilDone(10);
  ASSERT_TRUE(finished());
  EXPECT_EQ(outcome()->url, "/cloud/quick");
  EXPECT_FALSE(outcome()->error);
  EXPECT_EQ(provider_->looks.load(), 3);
  EXPECT_TRUE(notes_.snapshot().empty());
}

TEST_F(UbiquityFilesTest, ASlowDownloadIsAnnouncedOnItsFifthPassAndWhenItEnds) {
  provider_->looksBeforeArrival = 7;
  manage("/cloud/slow");
  pollUntilDone(20);
  ASSERT_TRUE(finished());
  EXPECT_EQ(outcome()->url, "/cloud/slow");
  EXPECT_EQ(notes_.snapshot(),
            (std::vector<std::string>{"TQEditingWebviewStartedDownloadingUbiquitousFile /cloud/slow",
                                      "TQEditingWebviewFinishedDownloadingUbiquitousFile /cloud/slow"}));
  EXPECT_EQ(Ubiquity::tqUbiquityQueue()->maxConcurrentOperationCount(), 1);
}

TEST_F(UbiquityFilesTest, AFileStillEmptyAfterHalfAnHourFailsWithTheZeroLengthError) {
  provider_->looksBeforeArrival = -1;
  manage("/cloud/never");
  pollUntilDone(6);  // past the announcement
  ASSERT_TRUE(eventually([&] { return clock_->sleepers() == 1; }, 10.0));
  clock_->advance(std::chrono::seconds(1801));
  ASSERT_TRUE(finished());
  EXPECT_FALSE(outcome()->url);
  ASSERT_TRUE(outcome()->error);
  EXPECT_EQ(outcome()->error->domain(), "UbiqDomain");
  EXPECT_EQ(outcome()->error->code(), 10);
  EXPECT_EQ(outcome()->error->localizedDescription(), Ubiquity::zeroLengthFileDescription());
  EXPECT_EQ(notes_.snapshot().size(), 2u) << "started, then finished even on failure";
}

}  // namespace
}  // namespace tq
