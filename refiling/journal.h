// A record of what was done to a user's mail, from which it can be undone.
#ifndef QUARROW_REFILING_JOURNAL_H_
#define QUARROW_REFILING_JOURNAL_H_

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "administration/refusal.h"
#include "administration/user_folder.h"
#include "system/descriptor.h"

namespace Quarrow::Refiling {

constexpr char journal_name[] = ".refiling_journal";

// How many runs are kept that are not undone. Several, since a run that was stopped is followed by
// one that does the rest.
constexpr std::size_t kept_runs = 10;

// Refuses, with Kind::try_again, while another process has the journal in the open folder `folder`
// open.
Administration::Refusal check_idle(const Administration::UserFolder& folder);

// One change to one message. It is written down before it is made, so it may not have been made:
// where the message is tells that.
struct Step {
  enum class Kind {
    move,  // from one folder to another
    copy,  // a second name of the file, in the other folder
    drop   // the name in the first folder goes, since the other folder has the same file
  };

  Kind kind = Kind::move;
  std::string unique;  // see unique_part()
  std::string from;    // folders of the Maildir, as maildir_folder() has them; "" is the inbox
  std::string to;
};

// Whether the journal in the open folder `folder` holds a run that is not undone. Another process
// may have it open meanwhile. False for a journal that is not there, or can't be read.
bool has_run_to_undo(int folder);

// The journal in a user's folder: a file that is added to, and never removed. When a run begins, it
// may be replaced by a shorter one. One process at a time has it open: it is locked until this
// object is gone or the process ends.
class Journal {
 public:
  // Opens the journal in `folder`, and makes it when it is missing. Refuses when another process
  // has it open, and when the user is locked.
  Administration::Refusal open(const std::string& folder);

  // The steps that are added from now on belong to a further run, if there are any.
  void begin_run();

  // Adds a step, in memory.
  void add(const Step& step);

  // Marks the last run that is not undone as undone, in memory.
  void add_undone();

  // Writes what was added, and waits until it is on the disk. With the first step of a run, runs
  // that are undone go, and so do the oldest beyond `kept_runs`, once there are that many. A
  // process that is killed meanwhile leaves the old journal or the shorter one.
  Administration::Refusal write();

  // Reads the steps of the last run on the disk that is not undone into `steps`; none when there is
  // no such run.
  Administration::Refusal read_last_run(std::optional<std::vector<Step>>& steps) const;

 private:
  Administration::Refusal end_last_line();
  Administration::Refusal read(std::string& text) const;
  Administration::Refusal drop_old_runs();
  Administration::Refusal replace(const std::string& text);
  Administration::Refusal synchronise_folder() const;

  std::string folder_;
  std::string path_;
  std::unique_ptr<Descriptor> file_;
  bool is_run_begun_ = false;
  bool is_run_written_ = false;
  std::string added_;
};

}  // namespace Quarrow::Refiling

#endif  // QUARROW_REFILING_JOURNAL_H_
