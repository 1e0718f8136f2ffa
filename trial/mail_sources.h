// Where mail lies: message files, mbox files, Maildir folders and standard input.
#ifndef QUARROW_TRIAL_MAIL_SOURCES_H_
#define QUARROW_TRIAL_MAIL_SOURCES_H_

#include <fcntl.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Quarrow::Trial {

// A file to read one or several messages from.
struct MailSource {
  std::string path;        // "-" is standard input
  std::uint64_t size = 0;  // in bytes; 0 where it is not known
  // It lies in a Maildir, whose owner may have put anything there.
  bool is_in_maildir = false;
  int folder = AT_FDCWD;  // open, where a relative path of a message in a Maildir begins

  bool is_standard_input() const { return path == "-"; }
};

// Why no message was read from a place.
struct SourceFailure {
  enum class Kind {
    cannot_read,    // it is missing, or the system refused to read it
    not_a_maildir,  // a folder without cur/ and new/
    empty,          // it holds nothing
    too_long        // a stream that went on beyond the limit
  };

  std::string object;  // the path of the file or the folder; "-" is standard input
  Kind kind = Kind::cannot_read;
  std::string reason;  // the same for a person, to stand behind the object and a colon
};

// The failure to read `object` that `error`, an errno, explains.
SourceFailure cannot_read(const std::string& object, int error);

struct FoundMail {
  std::vector<MailSource> sources;
  std::vector<SourceFailure> failures;
};

// The sources that `arguments` stand for, in that order. An argument is the path of a file or of a
// Maildir folder, or "-". A Maildir folder stands for the files in its cur/ and then in its new/,
// each sorted by name; these are folders, and no links to any. An argument that is missing, or is a
// folder but no Maildir, becomes a failure. No file is opened yet.
FoundMail find_mail(const std::vector<std::string>& arguments);

// The sum of the sizes of `sources`, in bytes.
std::uint64_t total_size(const std::vector<MailSource>& sources);

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_MAIL_SOURCES_H_
