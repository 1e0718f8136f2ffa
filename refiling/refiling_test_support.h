// A user's folder with messages in a Maildir.
#ifndef QUARROW_REFILING_REFILING_TEST_SUPPORT_H_
#define QUARROW_REFILING_REFILING_TEST_SUPPORT_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "administration/administration_test_support.h"
#include "refiling/refiler.h"

namespace Quarrow::Refiling {

using Lines = std::vector<std::string>;

using Administration::said;

// Writes down each failure.
class RecordingRefiling : public RefilingObserver {
 public:
  void on_done() override { ++done_; }
  void on_failure(const std::string& unique, const std::string& reason) override {
    failures_.push_back(unique + ": " + reason);
  }

  int done() const { return done_; }
  const Lines& failures() const { return failures_; }

 private:
  int done_ = 0;
  Lines failures_;
};

// The user's folder is this one.
class TemporaryMaildir : public TemporaryFolder {
 public:
  TemporaryMaildir() { make(""); }

  std::string folder(const std::string& name) const { return file("Maildir/" + name); }

  void make(const std::string& name) const {
    for (const char* part : {"cur", "new", "tmp"})
      std::filesystem::create_directories(folder(name) + '/' + part);
  }

  // Files a message whose text is its unique part: `path` is one such as ".A/cur/a:2,S".
  void put(const std::string& path) const {
    write_file(folder(path), unique_part(std::filesystem::path(path).filename().string()));
  }

  // The messages of all folders: "/new/a", ".A/cur/b:2,S" and so on, sorted.
  Lines messages() const {
    Lines found;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(file("Maildir"))) {
      const std::string part = entry.path().parent_path().filename().string();
      if (!entry.is_regular_file() || (part != "cur" && part != "new")) continue;
      const auto relative = std::filesystem::relative(entry.path(), file("Maildir"));
      const bool in_inbox = std::distance(relative.begin(), relative.end()) == 2;
      found.push_back((in_inbox ? "/" : "") + relative.string());
    }
    std::sort(found.begin(), found.end());
    return found;
  }

  // Refiles in a run of its own; gives the failures.
  Lines apply(const std::vector<Refiled>& messages, const std::string& from = "") const {
    Journal journal;
    RecordingRefiling seen;
    EXPECT_EQ("", said(journal.open(path())));
    Refiler refiler(path(), journal, seen);
    EXPECT_EQ("", said(refiler.begin(from)));
    for (const Refiled& message : messages) EXPECT_EQ("", said(refiler.add(message)));
    EXPECT_EQ("", said(refiler.finish()));
    return seen.failures();
  }

  Lines undo() const {
    Journal journal;
    RecordingRefiling seen;
    EXPECT_EQ("", said(journal.open(path())));
    std::optional<std::vector<Step>> steps;
    EXPECT_EQ("", said(journal.read_last_run(steps)));
    if (!steps) return {"nothing to undo"};
    EXPECT_EQ("", said(Refiler(path(), journal, seen).undo(*steps)));
    return seen.failures();
  }
};

}  // namespace Quarrow::Refiling

#endif  // QUARROW_REFILING_REFILING_TEST_SUPPORT_H_
