// One user's filters. create_path() is a double here: the shipped one always succeeds for the path
// that it is given.
#include <base.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>
#include <zvelluser.h>

#include <cstdlib>
#include <filesystem>

#include "message_filters/user_filter_path.h"
#include "quarrow/user_stores.h"
#include "tests/support/rules_test_support.h"
#include "tests/support/temporary_folder_test_support.h"

namespace {

struct {
  int result;
  std::string path;
  int mode;
} directory_step;

}  // namespace

int create_path(const std::string& path, int mode) {
  directory_step.path = path;
  directory_step.mode = mode;
  return directory_step.result;
}

namespace Quarrow::MessageFilters {
namespace {

const EmailAddress owner("bob@example.org");

Test refused_test() { return make_test("size", "size", "greater", "many"); }

class UserFilters : public testing::Test {
 protected:
  UserFilters() {
    mailuser_set_root(folder_.path());
    std::filesystem::create_directories(std::filesystem::path(document()).parent_path());
    directory_step = {0, "not called", 0};
    filters_ = UserMessageFilters__::Create(owner);
  }
  ~UserFilters() override { cmdb.system = nullptr; }

  static std::string document() { return user_filter_path(owner, FILTER_XML); }
  static std::string script() { return user_filter_path(owner, FILTER_SIEVE); }

  void set_grade(std::uint32_t grade) {
    record_.capacity_grade = grade;
    cmdb.system = &record_;
  }

  void fill(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) filters_->filters->append(make_filter("a"));
  }

  // The result of persist(), with the committed files seen as untouched.
  int failing_persist() {
    write_file(document(), "old document");
    write_file(script(), "old script");
    const int code = filters_->persist();
    EXPECT_EQ("old document", content_of(document()));
    EXPECT_EQ("old script", content_of(script()));
    return code;
  }

  const TemporaryFolder folder_;
  SystemRecord record_;
  boost::shared_ptr<UserMessageFilters__> filters_;
};

TEST_F(UserFilters, NullAddressHasNone) {
  EXPECT_FALSE(UserMessageFilters__::Create(EmailAddress()));
}

TEST_F(UserFilters, StartEmptyWithoutAUsableDocument) {
  for (const char* content :
       {"(missing)", "", "<filters>", "<filters version=\"1.0\"></filters>"}) {
    if (content != std::string("(missing)")) write_file(document(), content);
    const auto filters = UserMessageFilters__::Create(owner);
    EXPECT_EQ("bob@example.org", filters->address.address());
    ASSERT_TRUE(filters->filters) << content;
    EXPECT_TRUE(filters->filters->filters.empty()) << content;
  }
}

TEST_F(UserFilters, DocumentThatCannotBeSurvivedEndsTheProcess) {
  write_file(document(), "<filters><filter/></filters>");
  EXPECT_DEATH((void)UserMessageFilters__::Create(owner), "px != 0");
}

TEST_F(UserFilters, LimitFollowsTheGrade) {
  EXPECT_EQ(100u, UserMessageFilters__::max_filters());
  const struct {
    std::uint32_t grade;
    std::uint64_t limit;
  } cases[] = {{0, 20}, {7, 20}, {8, 60}, {18, 60}, {19, 100}, {4294967295u, 100}};
  for (const auto& c : cases) {
    set_grade(c.grade);
    EXPECT_EQ(c.limit, UserMessageFilters__::max_filters()) << c.grade;
  }
}

TEST_F(UserFilters, NoFilterIsAddedBeyondTheLimit) {
  set_grade(7);
  fill(19);
  EXPECT_FALSE(filters_->max_filters_reached());
  const auto last = make_filter("last");
  EXPECT_TRUE(filters_->add_filter(last, 0));
  EXPECT_EQ(20, last->id);
  EXPECT_TRUE(filters_->max_filters_reached());
  const auto refused = make_filter("refused");
  EXPECT_FALSE(filters_->add_filter(refused, 0));
  EXPECT_EQ(0, refused->id);
  EXPECT_EQ(20u, filters_->filters->filters.size());
  set_grade(8);
  EXPECT_FALSE(filters_->max_filters_reached());
  EXPECT_TRUE(filters_->add_filter(refused, 0));
}

TEST_F(UserFilters, LimitMayBePassedBehindTheSetsBack) {
  set_grade(7);
  fill(21);
  EXPECT_TRUE(filters_->max_filters_reached());
}

TEST_F(UserFilters, AddPutsAFilterBeforeAnotherOrAtTheEnd) {
  fill(3);
  EXPECT_TRUE(filters_->add_filter(make_filter("b"), 2));
  EXPECT_TRUE(filters_->add_filter(make_filter("c"), 0));
  EXPECT_TRUE(filters_->add_filter(make_filter("d"), 4294967295u));
  std::vector<std::int32_t> ids;
  for (const auto& filter : filters_->filters->filters) ids.push_back(filter->id);
  EXPECT_EQ((std::vector<std::int32_t>{1, 4, 2, 3, 5, 6}), ids);
}

TEST_F(UserFilters, AddRefusesInvalidFilters) {
  EXPECT_FALSE(filters_->add_filter(Filter__::Create(), 0));
  EXPECT_FALSE(filters_->add_filter(boost::shared_ptr<Filter__>(), 0));
}

TEST_F(UserFilters, RemoveTakesTheIdAsSigned) {
  filters_->filters->append(make_filter("a", 7));
  filters_->filters->append(make_filter("b", -1));
  EXPECT_FALSE(filters_->remove_filter(8));
  EXPECT_TRUE(filters_->remove_filter(7));
  EXPECT_TRUE(filters_->remove_filter(4294967295u));
  EXPECT_TRUE(filters_->filters->filters.empty());
}

TEST_F(UserFilters, TestIsValidWhenItCompiles) {
  EXPECT_EQ(0, filters_->validate_test(subject_test()));
  EXPECT_EQ(0, filters_->validate_test(make_test("size", "size", "greater", "10")));
  EXPECT_EQ(3, filters_->validate_test(refused_test()));
  EXPECT_EQ(3, filters_->validate_test(make_test("string", "no header", "is", "x")));
  EXPECT_EQ("", directory_step.path);
  EXPECT_EQ(0766, directory_step.mode);
  EXPECT_TRUE(filters_->filters->filters.empty());
}

TEST_F(UserFilters, InvalidTestIsSeenBeforeTheDiskIsTouched) {
  directory_step.result = -1;
  EXPECT_EQ(1, filters_->validate_test(make_test("size", "size", "is", "10")));
  EXPECT_EQ("not called", directory_step.path);
}

TEST_F(UserFilters, TestNeedsTheDirectoryStep) {
  directory_step.result = -1;
  EXPECT_EQ(2, filters_->validate_test(subject_test()));
}

class PlaceForTemporaryFiles : public UserFilters {
 protected:
  void set_folder(const std::string& folder) { setenv("TMPDIR", folder.c_str(), 1); }

  ~PlaceForTemporaryFiles() override {
    before_ ? setenv("TMPDIR", value_.c_str(), 1) : unsetenv("TMPDIR");
  }

 private:
  const char* const before_ = std::getenv("TMPDIR");
  const std::string value_ = before_ ? before_ : "";
};

TEST_F(PlaceForTemporaryFiles, MustBeThereForATest) {
  set_folder(folder_.file("missing"));
  EXPECT_EQ(2, filters_->validate_test(subject_test()));
  EXPECT_EQ(1, filters_->validate_test(Condition()));
}

TEST_F(PlaceForTemporaryFiles, IsEmptyAgainAfterATest) {
  const std::string folder = folder_.file("tmp");
  std::filesystem::create_directory(folder);
  set_folder(folder);
  EXPECT_EQ(0, filters_->validate_test(subject_test()));
  EXPECT_EQ(3, filters_->validate_test(refused_test()));
  EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(UserFilters, PersistWritesDocumentAndScript) {
  filters_->add_filter(make_rule("on", subject_test("a")), 0);
  filters_->add_filter(make_rule("off", subject_test("b"), false), 0);
  write_file(document() + ".tmp", "left over");
  write_file(script() + ".tmp", "left over");
  ASSERT_EQ(0, filters_->persist());
  EXPECT_EQ("", directory_step.path);
  EXPECT_EQ(0766, directory_step.mode);

  const std::string expected_document = folder_.file("document");
  const std::string expected_script = folder_.file("script");
  ASSERT_TRUE(filters_->filters->SaveToXML(expected_document));
  ASSERT_TRUE(filters_->filters->SaveToSieve(expected_script, false));
  EXPECT_EQ(content_of(expected_document), content_of(document()));
  EXPECT_EQ(content_of(expected_script), content_of(script()));
  EXPECT_EQ("(no file)", content_of(document() + ".tmp"));
  EXPECT_EQ("(no file)", content_of(script() + ".tmp"));
  EXPECT_EQ(std::string::npos, content_of(script()).find("off"));

  const auto again = UserMessageFilters__::Create(owner)->filters;
  ASSERT_EQ(2u, again->filters.size());
  EXPECT_TRUE(again->find_filter("on")->enabled);
  EXPECT_FALSE(again->find_filter("off")->enabled);
}

TEST_F(UserFilters, NothingIsWrittenBeforePersist) {
  filters_->add_filter(make_rule("a", subject_test()), 0);
  EXPECT_EQ("(no file)", content_of(document()));
  EXPECT_EQ("(no file)", content_of(script()));
}

TEST_F(UserFilters, PersistRemovesAndReplacesTheDocumentBeforeTheScript) {
  ASSERT_EQ(0, filters_->persist());
  const std::string folder = std::filesystem::path(script()).parent_path();
  const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  ASSERT_LE(0, inotify_add_watch(watch, folder.c_str(), IN_DELETE | IN_MOVED_TO));
  ASSERT_EQ(0, filters_->persist());

  alignas(inotify_event) char events[4096];
  const ssize_t size = read(watch, events, sizeof events);
  close(watch);
  std::vector<std::string> seen;
  for (ssize_t at = 0; at < size;) {
    const auto* event = reinterpret_cast<const inotify_event*>(events + at);
    seen.push_back((event->mask & IN_DELETE ? "removed " : "replaced ") + std::string(event->name));
    at += static_cast<ssize_t>(sizeof *event + event->len);
  }
  const std::vector<std::string> want = {"removed .delivery_filter.xml",
                                         "replaced .delivery_filter.xml",
                                         "removed .delivery_filter", "replaced .delivery_filter"};
  EXPECT_EQ(want, seen);
}

TEST_F(UserFilters, PersistReplacesWhatWasThere) {
  write_file(document(), std::string(10000, 'x'));
  write_file(script(), std::string(10000, 'x'));
  ASSERT_EQ(0, filters_->persist());
  EXPECT_NE(std::string::npos, content_of(document()).find("<filters version=\"1.0\"></filters>"));
  EXPECT_EQ(0u, content_of(script()).find("require ["));
}

TEST_F(UserFilters, PersistNeedsTheDirectoryStep) {
  directory_step.result = -1;
  EXPECT_EQ(2, failing_persist());
  EXPECT_EQ("(no file)", content_of(script() + ".tmp"));
}

TEST_F(UserFilters, PersistRefusesRulesThatDoNotCompileEvenDisabledOnes) {
  for (const bool enabled : {true, false}) {
    filters_->filters->filters.clear();
    filters_->add_filter(make_rule("bad", refused_test(), enabled), 0);
    EXPECT_EQ(3, failing_persist());
    EXPECT_NE(std::string::npos, content_of(script() + ".tmp").find("manyK"));
    EXPECT_EQ("(no file)", content_of(document() + ".tmp"));
  }
  filters_->filters->filters.clear();
  EXPECT_EQ(0, filters_->persist());
  EXPECT_EQ("(no file)", content_of(script() + ".tmp"));
}

TEST_F(UserFilters, PersistFailsForAnInvalidTest) {
  filters_->add_filter(make_rule("bad", Condition()), 0);
  EXPECT_EQ(2, failing_persist());
}

TEST_F(UserFilters, PersistFailsForWhatOnlyTheDocumentHolds) {
  fill(1);
  filters_->filters->filters.front()->actions.push_back(Action());
  filters_->add_filter(make_rule("off", subject_test(), false), 0);
  EXPECT_EQ(2, failing_persist());
  EXPECT_EQ("", content_of(document() + ".tmp"));
  // The script of the enabled filters comes last, so it still is the one that was tried.
  EXPECT_NE(std::string::npos, content_of(script() + ".tmp").find("# RULE: off"));
}

TEST_F(UserFilters, PersistNeedsToWriteAside) {
  for (const auto& path : {script(), document()}) {
    std::filesystem::create_directory(path + ".tmp");
    EXPECT_EQ(2, failing_persist());
    std::filesystem::remove(path + ".tmp");
  }
}

TEST_F(UserFilters, PersistNeedsTheUsersFolder) {
  std::filesystem::remove_all(folder_.file("example.org"));
  EXPECT_EQ(2, filters_->persist());
}

TEST_F(UserFilters, PersistDoesNotNoticeThatAFileCannotBeReplaced) {
  std::filesystem::create_directories(document() + "/x");
  EXPECT_EQ(0, filters_->persist());
  EXPECT_TRUE(std::filesystem::is_directory(document()));
  EXPECT_NE("(no file)", content_of(script()));
  EXPECT_NE("(no file)", content_of(document() + ".tmp"));
}

}  // namespace
}  // namespace Quarrow::MessageFilters
