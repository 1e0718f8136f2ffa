// Messages in a Maildir, each on disk as a whole or not at all.
#ifndef QUARROW_DELIVERY_MAILDIR_STORE_H_
#define QUARROW_DELIVERY_MAILDIR_STORE_H_

#include <functional>
#include <string>

#include "quarrow/delivery/message_file.h"

namespace Quarrow::Delivery {

// The time, this process, a count of calls and a random number:
// "1777896000.M52P7131Q1R9c2e51a07bd3f468".
std::string unique_text();

// A Maildir++ and its folders. Any number of processes and threads may store at the same time.
class MaildirStore {
 public:
  // Why a message was not stored, or a folder not made: "/path: No space left on device". Empty
  // when it was.
  struct Result {
    std::string reason;
    std::string name = {};  // of the file that a message was stored as

    explicit operator bool() const { return reason.empty(); }
  };

  // Gives the part that makes a file name unique on this host: "time.MmicroPpidQcountRrandom".
  using UniqueText = std::function<std::string()>;

  // `maildir` is the path of the Maildir; its parent exists. `host_name` becomes a part of the
  // messages' file names. If a text from `unique` is taken nevertheless, no message is harmed:
  // the next text is tried.
  MaildirStore(std::string maildir, const std::string& host_name, UniqueText unique = unique_text);

  // Stores `message` as a new file, named time.MmicroPpidQcountRrandom.host,S=size, in `folder`, a
  // name from maildir_folder. On success it is on disk, fsynced, its place in the folder included.
  // After a failure nothing of it is in tmp/, nor in new/, unless removing it fails as well.
  //
  // Missing parts of the Maildir and the folder are made for the owner alone. A folder that is made
  // here is added to the Maildir's file "subscriptions", a line each: "A.B", or, where the file
  // begins with the line "V<tab>2", the levels separated by tabs. That fails silently: a mail
  // client may not show the folder then, but the message is stored.
  //
  // The user may have put anything in the place of each part: nothing waits for a fifo, no symbolic
  // link is followed, not even in the place of the Maildir itself, and a file "subscriptions" that
  // has a second name, or more than 1 MiB, is left alone.
  //
  // The caller ignores SIGXFSZ, by which the system tells of a limit on the size of files.
  Result store(const std::string& folder, const MessageFile& message) const;

  // Takes the message that store() stored as `name` in `folder` away again. Fails where somebody
  // else took or renamed it meanwhile, as a mail client does.
  Result take_back(const std::string& folder, const std::string& name) const;

  // Makes what is missing of `folder`, as store() does, and puts it on disk.
  Result make(const std::string& folder) const;

 private:
  Result result(const std::string& folder, int error) const;

  const std::string maildir_;
  const std::string host_;  // as it stands in file names
  const UniqueText unique_;
};

// The name of this host, for file names; "localhost" when it has none.
std::string host_name();

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_MAILDIR_STORE_H_
