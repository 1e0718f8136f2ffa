// Files of the work on mail that was filed before, from the user's folder: its state, and the
// keywords that an IMAP server wrote, of which the first line of the input asks some by letters.
#include <fcntl.h>

#include "fuzz/expectation.h"
#include "fuzz/input.h"
#include "fuzz/target.h"
#include "refiling/folder_keywords.h"
#include "refiling/refiling_state.h"
#include "system/descriptor.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Fuzz {
namespace {

using namespace Refiling;

void try_state(const std::string& text) {
  const auto state = state_in(text);
  if (!state) return;
  const std::string written = text_of(*state);
  const auto again = state_in(written);
  expect(again.has_value(), "a state that was written can be read");
  expect_equal(written, text_of(*again), "and is the same");
}

void try_keywords(const std::string& input) {
  static const TemporaryFolder folder;
  static const Descriptor open_folder(
      open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const std::string info = ":2," + input.substr(0, input.find('\n'));
  folder.write("dovecot-keywords", input.substr(std::min(input.find('\n'), input.size())));
  FolderKeywords keywords;
  keywords.read(open_folder.get());
  (void)keywords.names_in(info);
  const auto same = keywords.translated(info, keywords);
  expect(same.has_value(), "a folder has its own keywords");
  expect(keywords.names_in(*same) == keywords.names_in(info), "which stay the same");
}

void try_file(const std::string& input) {
  try_state(input);
  try_keywords(input);
}

const Target target("refiling_files", try_file);

}  // namespace
}  // namespace Quarrow::Fuzz
