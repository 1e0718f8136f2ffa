// How many address headers of real mail libsieve refuses: as the senders wrote them, and as the
// message parser hands them out. A refused header costs its receiver all rules for that message.
//
//   address_rate FILE-OR-FOLDER...
//
// Each file is a message; folders are searched for more of them. Of each message the first header
// of each name that holds addresses counts, decoded as for the interpreter. Printed are the number
// of headers, and how many of them
//
//   refused-as-written     libsieve refuses, decoded but otherwise untouched
//   crashed-as-written     it crashed on
//   refused-as-handed-out  libsieve refuses, of those that MimePart gives
//   crashed-as-handed-out
//   emptied                hold an address sign, but are handed out empty

#include <zvellparser.h>

#include <algorithm>
#include <boost/algorithm/string/case_conv.hpp>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <locale>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "host/zvellparser/address_header.h"
#include "host/zvellparser/header_block.h"
#include "host/zvellparser/libsieve_oracle_test_support.h"

namespace {

namespace fs = std::filesystem;
using zvellparser::LibsieveVerdict;

struct Headers {
  std::vector<std::string> as_written;
  std::vector<std::string> as_handed_out;
};

std::string decoded(const std::string& value) {
  const Buffer buffer = stringToUtf8(value, nullptr);
  return std::string(buffer.data(), buffer.size());
}

std::string in_lower_case(const std::string& name) {
  return boost::to_lower_copy(name, std::locale::classic());
}

void add_message(const fs::path& path, Headers& headers) {
  std::ifstream file(path, std::ios::binary);
  const std::string message{std::istreambuf_iterator<char>(file), {}};
  const auto part = MimePart::parse(message.data(), message.size());
  std::set<std::string> names;
  std::istringstream block(zvellparser::read_header_block(message.data(), message.size()));
  for (std::string line; std::getline(block, line);) {
    const std::size_t colon = line.find(':');
    const std::string name = line.substr(0, colon);
    const std::string value = line.substr(colon + 1);
    if (!zvellparser::is_address_header(name) || !names.insert(in_lower_case(name)).second)
      continue;
    headers.as_written.push_back(decoded(value));
    headers.as_handed_out.push_back(decoded(part->headers().find(name).value()));
  }
}

void add_messages(const fs::path& path, Headers& headers) {
  if (!fs::is_directory(path)) return add_message(path, headers);
  for (const auto& entry : fs::recursive_directory_iterator(path))
    if (entry.is_regular_file()) add_message(entry.path(), headers);
}

std::size_t emptied(const Headers& headers) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < headers.as_written.size(); ++i) {
    const bool has_address = headers.as_written[i].find('@') != std::string::npos;
    if (has_address && headers.as_handed_out[i].empty()) ++count;
  }
  return count;
}

void print(const char* what, std::size_t count) { std::printf("%-22s %7zu\n", what, count); }

void print_verdicts(const std::string& form, const std::vector<std::string>& texts) {
  const auto verdicts = zvellparser::libsieve_verdicts(texts, "nobody@example.org");
  const auto count = [&verdicts](LibsieveVerdict verdict) {
    return static_cast<std::size_t>(std::count(verdicts.begin(), verdicts.end(), verdict));
  };
  print(("refused-" + form).c_str(), count(LibsieveVerdict::refused));
  print(("crashed-" + form).c_str(), count(LibsieveVerdict::unknown));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: address_rate FILE-OR-FOLDER...\n");
    return 64;
  }
  Headers headers;
  for (int i = 1; i < argc; ++i) add_messages(argv[i], headers);
  print("headers", headers.as_written.size());
  print_verdicts("as-written", headers.as_written);
  print_verdicts("as-handed-out", headers.as_handed_out);
  print("emptied", emptied(headers));
  return 0;
}
