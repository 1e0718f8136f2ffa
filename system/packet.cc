// Packets of numbers and texts.
#include "system/packet.h"

#include <cstring>

namespace Quarrow {

void PacketWriter::number(std::uint64_t value) {
  packet_.append(reinterpret_cast<const char*>(&value), sizeof value);
}

void PacketWriter::text(const std::string& value) {
  number(value.size());
  packet_ += value;
}

std::uint64_t PacketReader::number(std::uint64_t limit) {
  std::uint64_t value = 0;
  if (rest_.size() < sizeof value) return fail();
  std::memcpy(&value, rest_.data(), sizeof value);
  rest_.remove_prefix(sizeof value);
  return value <= limit ? value : fail();
}

std::string PacketReader::text() {
  const std::size_t length = number(rest_.size());
  if (length > rest_.size()) return fail(), std::string();
  const std::string value(rest_.substr(0, length));
  rest_.remove_prefix(length);
  return value;
}

std::uint64_t PacketReader::fail() {
  well_formed_ = false;
  rest_ = {};
  return 0;
}

}  // namespace Quarrow
