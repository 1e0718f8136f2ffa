// Messages.
#include "host/zvellparser/header_block.h"
#include "zvellparser.h"

std::unique_ptr<MimePart> MimePart::parse(const char* data, std::size_t length) {
  auto message = std::make_unique<MimePart>();
  std::string& lines = message->headers_.lines_;
  lines = zvellparser::read_header_block(data, length);
  for (std::size_t line = 0; line < lines.size(); line = lines.find('\n', line) + 1)
    message->headers_.starts_.push_back(line);
  return message;
}
