// Keywords of messages as Dovecot keeps them: a letter in the file's name, whose meaning the file
// dovecot-keywords in the message's folder tells.
#ifndef QUARROW_REFILING_FOLDER_KEYWORDS_H_
#define QUARROW_REFILING_FOLDER_KEYWORDS_H_

#include <array>
#include <chrono>
#include <optional>
#include <set>
#include <string>

namespace Quarrow::Refiling {

// How long an IMAP server may keep a folder's keywords locked.
constexpr std::chrono::seconds keywords_patience{10};

// What the letters mean in one folder.
class FolderKeywords {
 public:
  // Reads the keywords of the folder with the descriptor `folder`. A folder without that file has
  // none; so has one whose file can't be read or is no regular file.
  void read(int folder);

  // Adds those of `names` that the folder does not have, on the disk as well. The file is replaced
  // as a whole, under the lock that Dovecot takes for that, `dovecot-uidlist.lock`: it is waited
  // for up to `patience`, and removed where the process that took it is known to be gone. Gives why
  // that failed, and then adds none: the letters, for example, are all taken. Empty on success.
  std::string add(int folder, const std::set<std::string>& names,
                  std::chrono::milliseconds patience = keywords_patience);

  // The keywords that have letters in `info`, the end of a message's file name.
  std::set<std::string> names_in(const std::string& info) const;

  // `info` with the letters that the same keywords have in `target`. A letter without a meaning
  // stays where it has none in `target` either, and is left out otherwise. None when `target` lacks
  // one of the keywords.
  std::optional<std::string> translated(const std::string& info,
                                        const FolderKeywords& target) const;

 private:
  bool take_in(const std::set<std::string>& names);
  std::string text() const;
  std::string replace_file(int folder) const;

  std::array<std::string, 26> names_;  // by letter; empty for none
};

}  // namespace Quarrow::Refiling

#endif  // QUARROW_REFILING_FOLDER_KEYWORDS_H_
