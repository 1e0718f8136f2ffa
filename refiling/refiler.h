// Moving and copying messages between the folders of a Maildir, so that it can be undone.
#ifndef QUARROW_REFILING_REFILER_H_
#define QUARROW_REFILING_REFILER_H_

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "administration/refusal.h"
#include "refiling/folder_keywords.h"
#include "refiling/journal.h"
#include "refiling/mail_folder.h"

namespace Quarrow::Refiling {

// A message, and the folders that are to have it.
struct Refiled {
  std::string unique;                // see unique_part()
  std::vector<std::string> folders;  // of the Maildir, without the one where the message is
  bool stays = false;                // it stays where it is as well
};

// Gets to know what becomes of each message, while the work goes on.
class RefilingObserver {
 public:
  virtual ~RefilingObserver() = default;

  // One step less is to be done.
  virtual void on_done() = 0;

  // The same, but the message `unique` is not where it was to go. The reason is for a person.
  virtual void on_failure(const std::string& unique, const std::string& reason) = 0;
};

// How many messages are moved each time that the journal was put on the disk.
// Many, since each time costs a synchronisation; few enough for the work to begin soon.
constexpr std::size_t refiling_batch = 1000;

// Refiles the messages of one user. No process beside this one does so at the same time, while an
// IMAP server may do anything.
//
// A message is moved in one step: at no time is it in neither folder, nor twice in one. Its file's
// name keeps what is in front of the flags, and the flags; the letters of keywords become those of
// the folder where it goes. A copy is a second name of the same file.
//
// Each step is in the journal on the disk before it is made. After a process is killed, or the
// machine stops, each message is where it was or where it was to go, and undo() finds it.
class Refiler {
 public:
  // `folder` is the user's folder, in which their Maildir is. All of these outlive this object.
  Refiler(const std::string& folder, Journal& journal, RefilingObserver& observer);

  // Begins a run of the journal, for messages that are in the folder `from`.
  Administration::Refusal begin(const std::string& from);

  // Has a message where it is to be, some time before finish() returns, and tells the observer once
  // about it. Missing folders are made. Refuses when the journal or the folders can't be written:
  // then messages stay, and no further one is added.
  Administration::Refusal add(Refiled message);

  // Ends the run: all is on the disk.
  Administration::Refusal finish();

  // Brings back what the last run of the journal that is not undone did, last step first, and tells
  // the observer once about each step. A message is brought back from where that run put it, with
  // the flags that it has now. The run counts as undone unless something failed that may work
  // later; a message that is gone is no such thing.
  Administration::Refusal undo(const std::vector<Step>& steps);

 private:
  struct OpenFolder {
    MailFolder mail;
    FolderKeywords keywords;
    std::string fault;             // why it can't be used
    std::set<std::string> wanted;  // keywords that it needs for the batch
    std::string keywords_fault;    // why it does not get them
  };

  // Steps that follow each other for one message; or the reason why there are none.
  struct Task {
    std::string unique;
    std::vector<Step> steps;
    std::string fault;
  };

  // A folder that is missing is made, or else has no messages.
  enum class Missing { is_made, is_empty };

  OpenFolder& folder(const std::string& name, Missing missing = Missing::is_made);
  void want_keywords(const std::string& unique, const std::string& from, const std::string& to);
  void provide_keywords();
  Task task_for(const std::string& from, const Refiled& message);
  Administration::Refusal refile_added();
  void perform(const Task& task);
  int perform(const Step& step);
  int transfer(const std::string& unique, OpenFolder& from, OpenFolder& to, Step::Kind kind);
  void undo_batch(const Step* begin, const Step* end);
  std::string undo_step(const Step& step);
  std::string reason_of(const Step& step, int error);
  Administration::Refusal synchronise();

  const std::string maildir_;
  Journal& journal_;
  RefilingObserver& observer_;
  std::map<std::string, OpenFolder> folders_;
  std::string from_;             // of the run
  std::vector<Refiled> added_;   // messages of the next batch
  bool may_work_later_ = false;  // something that was to be undone
};

}  // namespace Quarrow::Refiling

#endif  // QUARROW_REFILING_REFILER_H_
