// Names of folders, in UTF-8 and as IMAP writes them: the input is a name.
#include <zvellparser.h>

#include <algorithm>

#include "delivery/folder_name.h"
#include "fuzz/expectation.h"
#include "fuzz/target.h"
#include "message_filters/mailbox_name.h"
#include "system/utf8.h"

namespace Quarrow::Fuzz {
namespace {

using namespace MessageFilters;
using Delivery::FolderDots;

constexpr std::size_t longest_level = 1024;  // of imap_mailbox_name()

void expect_folder(const std::string& mailbox, FolderDots dots) {
  const auto folder = Delivery::maildir_folder(mailbox, dots);
  if (!folder || folder->empty()) return;
  expect(folder->front() == '.' && folder->size() > 1, "a folder is in the Maildir");
  expect(folder->size() <= 255 && folder->find("..") == std::string::npos, "it has a file's name");
  const bool is_plain = std::all_of(folder->begin(), folder->end(),
                                    [](char c) { return c >= ' ' && c <= '~' && c != '/'; });
  expect(is_plain, "it is no path, and can be shown");
}

void try_name(const std::string& name) {
  const std::string encoded = imap_mailbox_name(name);
  const bool is_ascii =
      std::all_of(encoded.begin(), encoded.end(), [](char c) { return c >= ' ' && c <= '~'; });
  expect(is_ascii, "IMAP's names are ASCII");
  if (is_utf8(name) && name.size() <= longest_level)
    expect_equal(name, readable_mailbox_name(encoded), "a name comes back");
  const std::string readable = readable_mailbox_name(name);
  if (is_utf8(name)) expect(is_utf8(readable), "what is shown is UTF-8");
  for (const FolderDots dots : {FolderDots::inbox, FolderDots::listescape}) {
    expect_folder(name, dots);
    expect_folder(encoded, dots);
  }
  (void)Delivery::no_folder_note(name);
}

const Target target("folder_names", try_name);

}  // namespace
}  // namespace Quarrow::Fuzz
