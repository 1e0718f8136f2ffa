// An mbox file: its messages lie in it, one behind the other.
#include <zvellparser.h>

#include "fuzz/expectation.h"
#include "fuzz/target.h"

namespace Quarrow::Fuzz {
namespace {

void split(const std::string& file) {
  std::size_t end = 0;
  for (const MessageSpan& span : mbox_messages(file.data(), file.size())) {
    expect(span.offset > end, "a From line stands before each message");
    expect(span.length <= file.size() - span.offset, "messages lie in the file");
    end = span.offset + span.length;
  }
}

const Target target("mbox", split);

}  // namespace
}  // namespace Quarrow::Fuzz
