// Any script and a message, which a line with three dashes separates: a run leaves nothing behind.
#include <zvellparser.h>

#include "delivery/unread_header.h"
#include "fuzz/expectation.h"
#include "fuzz/input.h"
#include "fuzz/rules.h"
#include "fuzz/scripts.h"
#include "fuzz/target.h"
#include "sieve_match/script_check.h"
#include "system/memory_file.h"

namespace Quarrow::Fuzz {
namespace {

void expect_unharmed() {
  const auto matcher = matcher_of(
      "require \"fileinto\";\n"
      "if address :all :is \"from\" \"a@example.org\" { fileinto \"A\"; }");
  const std::string message = "From: A <a@example.org>\n\n";
  expect(matcher != nullptr, "a script that follows compiles");
  expect_equal("MatchResult [action=FILEINTO:A]", text_of(result_of(*matcher, message)),
               "a message that follows is evaluated");
}

void run(const std::string& input) {
  const Parts parts = parts_of(input, "---");
  if (takes_long(parts.first)) return;
  const auto matcher = matcher_of(parts.first);
  if (has_unsafe_words(parts.first.c_str())) expect(!matcher, "unsafe words are refused");
  if (matcher) {
    const std::string result = text_of(result_of(*matcher, parts.second));
    // The second run keeps what reading the script has changed, and the third goes on from that.
    const std::string another = text_of(result_of(*matcher, "Subject: another\n\n"));
    expect_equal(result, text_of(result_of(*matcher, parts.second)), "a later run is the same");
    expect_equal(another, text_of(result_of(*matcher, "Subject: another\n\n")),
                 "a later run of another message is the same");
    const MemoryFile file;
    const auto message = MimePart::parse(parts.second.data(), parts.second.size());
    (void)Delivery::unread_header(parts.first, *message, file);  // it comes to an end
  }
  expect_unharmed();
}

const Target target("script_and_message", run);

}  // namespace
}  // namespace Quarrow::Fuzz
