// Trying one header after the other.
#include "delivery/unread_header.h"

#include <quarrow/evaluation.h>
#include <zvellparser.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace Quarrow::Delivery {
namespace {

constexpr std::size_t most_tried = 20;

// The texts in quotes behind each word "address" of `script`, up to the end of the test: names of
// headers, and what they are compared with.
std::vector<std::string> texts_of_address_tests(std::string_view script) {
  constexpr std::string_view word = "address";
  constexpr std::string_view test_ends = "{);";
  std::vector<std::string> texts;
  bool within_test = false;
  for (std::size_t at = 0; at < script.size(); ++at) {
    if (script[at] == '"') {
      const std::size_t end = std::min(script.find('"', at + 1), script.size());
      if (within_test) texts.emplace_back(script.substr(at + 1, end - at - 1));
      at = end;
    } else if (script.substr(at, word.size()) == word) {
      within_test = true;
    } else if (test_ends.find(script[at]) != std::string_view::npos) {
      within_test = false;
    }
  }
  return texts;
}

bool is_unread(const std::string& name, MimePart& message, const MemoryFile& file) {
  if (!file.write("if address :all :is \"" + name + "\" \"\" { stop; }")) return false;
  const std::unique_ptr<SieveMatch> matcher(SieveMatch::Create(file.path(), nullptr));
  return matcher && matcher->Match(&message, 0, 0).error == SieveMatchResult::PARSE_ADDRESS;
}

}  // namespace

std::string unread_header(const std::string& script, MimePart& message, const MemoryFile& file) {
  std::size_t tried = 0;
  for (const std::string& name : texts_of_address_tests(script)) {
    if (message.headers().find(name).isNull()) continue;
    if (is_unread(name, message, file)) return name;
    if (++tried == most_tried) break;
  }
  return "";
}

}  // namespace Quarrow::Delivery
