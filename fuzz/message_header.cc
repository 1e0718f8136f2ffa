// The header of a stranger's message: found, parsed, decoded, and its addresses repaired.
#include <unistd.h>
#include <zvellparser.h>

#include <algorithm>
#include <cstring>

#include "delivery/charset_preloading.h"
#include "delivery/header_end.h"
#include "delivery/header_value.h"
#include "delivery/message_id.h"
#include "fuzz/expectation.h"
#include "fuzz/rules.h"
#include "fuzz/target.h"
#include "host/zvellparser/address_grammar.h"
#include "host/zvellparser/address_header.h"
#include "host/zvellparser/encoded_text.h"
#include "host/zvellparser/encoded_text_test_support.h"
#include "host/zvellparser/encoded_words.h"
#include "host/zvellparser/gmime_reader.h"
#include "host/zvellparser/text_pieces.h"
#include "system/memory_file.h"
#include "system/utf8.h"

namespace Quarrow::Fuzz {
namespace {

const char* const names[] = {"From", "to", "CC", "Sender", "Reply-To", "Subject", "List-Id"};

void find_end(const std::string& message) {
  const std::string header(Delivery::header_of(message));
  const MemoryFile file;
  expect(file.write(message), "a message fits into memory");
  const auto read = Delivery::read_header(file.fd());
  expect(read && message.compare(0, read->size(), *read) == 0, "a header is the message's start");
  expect_equal(header, std::string(Delivery::header_of(*read)), "and all of it is read");
  (void)Delivery::message_id(header);
  const auto& known = Delivery::all_charsets();
  for (const char* const charset : Delivery::charsets_for(header).names)
    expect(std::find(known.begin(), known.end(), charset) != known.end(), "charsets are ours");
}

// Whether the interpreter refuses `text`, the value of a header, as addresses.
bool is_refused(const std::string& text) {
  static const auto matcher = matcher_of("if address :all :is \"x-fuzz\" \"a\" { keep; }");
  const std::string message = "X-Fuzz: " + text + "\n\n";
  return result_of(*matcher, message).error == SieveMatchResult::PARSE_ADDRESS;
}

std::string decoded(const std::string& text) {
  const Buffer buffer = stringToUtf8(text, nullptr);
  return {buffer.data(), buffer.size()};
}

// Whether `text` stands in a header as it is, for asking the interpreter: it comes back unchanged
// from parsing and decoding.
bool stands_as_it_is(const std::string& text) {
  const std::string message = "X-Fuzz: " + text + "\n\n";
  const auto part = MimePart::parse(message.data(), message.size());
  return decoded(part->headers().find("X-Fuzz").value()) == text;
}

// The text of a header's value, decoded as GMime does it.
std::string whole_text(const std::string& raw) {
  const std::string text = zvellparser::decoded_whole(raw, {});
  const bool takes_gmime_long = raw.size() > 4096;
  const bool is_read_alike = raw.find('\0') == raw.npos && !zvellparser::may_gmime_lose_words(raw);
  if (!takes_gmime_long && is_read_alike)
    expect_equal(zvellparser::decode_header_text(raw, {}), text, "GMime reads it so");
  return text;
}

void repair(const std::string& raw) {
  const std::string text = whole_text(raw);
  const std::string repaired = zvellparser::readable_address_header(raw);
  const std::string seen = decoded(repaired);
  expect(zvellparser::interpreter_reads(seen), "what comes of a repair can be read");
  expect_equal(repaired, zvellparser::readable_address_header(repaired), "repair is done once");
  if (stands_as_it_is(seen)) expect(!is_refused(seen), "the interpreter takes it");
  const bool is_read = zvellparser::interpreter_reads(text);
  const auto cost = zvellparser::reading_cost(text);
  expect(is_read == cost.has_value(), "what is read has a cost");
  if (is_read && *cost <= zvellparser::most_reading_cost &&
      text.size() <= zvellparser::longest_value && raw.size() <= zvellparser::longest_raw_value)
    expect_equal(raw, repaired, "what can be read is left as it is");
  if (stands_as_it_is(text))
    expect(is_read != is_refused(text), "the grammar is the interpreter's");
}

// A helper process has loaded no decoder where `header` needs none.
void expect_usual_words(const std::string& header, const std::string& value) {
  if (Delivery::charsets_for(header).in_words) return;
  for (zvellparser::TextPieces pieces(value); !pieces.at_end();) {
    const zvellparser::TextPiece piece = pieces.next();
    if (piece.kind == zvellparser::TextPiece::Kind::encoded)
      expect(zvellparser::usual_words_text(piece.text).has_value(), "all words are usual");
  }
}

void look_up(const std::string& message) {
  const std::string header(Delivery::header_of(message));
  const auto part = MimePart::parse(message.data(), message.size());
  const auto of_header = MimePart::parse(header.data(), header.size());
  for (const char* const name : names) {
    const Header found = part->headers().find(name);
    expect(found.isNull() == of_header->headers().find(name).isNull(), "the body does not count");
    expect_equal(found.value(), of_header->headers().find(name).value(), "the header is enough");
    expect_usual_words(header, found.value());
    if (zvellparser::is_address_header(name))
      expect_usual_words(header, zvellparser::readable_address_header(found.value()));
    const auto value = Delivery::header_value(name, header, received_time);
    expect(value.has_value() != found.isNull(), "rules see each header");
    if (!value) continue;
    expect(is_utf8(*value) && value->size() <= zvellparser::longest_value, "values are UTF-8");
    expect(std::strlen(value->c_str()) == value->size(), "values hold no NUL");
    if (zvellparser::is_address_header(name))
      expect(zvellparser::interpreter_reads(*value), "addresses can be read");
  }
}

void try_message(const std::string& message) {
  find_end(message);
  look_up(message);
  const std::string line(message.substr(0, message.find('\n')));
  if (line.find('\0') == std::string::npos && line.find('\r') == std::string::npos)
    repair(line.substr(std::min(line.find(':'), line.size() - 1) + 1));
}

const Target target("message_header", [](const std::string& message) {
  if (!message.empty()) try_message(message);
});

}  // namespace
}  // namespace Quarrow::Fuzz
