// Numbers and texts as one packet between two processes of the same program.
#ifndef QUARROW_SYSTEM_PACKET_H_
#define QUARROW_SYSTEM_PACKET_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace Quarrow {

// Makes a packet: numbers as they are in memory, texts behind their length.
class PacketWriter {
 public:
  void number(std::uint64_t value);
  void text(const std::string& value);

  // The packet so far, which may be moved away.
  std::string& packet() { return packet_; }

 private:
  std::string packet_;
};

// Reads a packet's parts in the order in which they were written. The sender is not trusted: once
// something is missing or out of range, all that follows is, too.
class PacketReader {
 public:
  // `packet` must outlive this object.
  explicit PacketReader(std::string_view packet) : rest_(packet) {}

  // The next number; 0 when it is missing or above `limit`.
  std::uint64_t number(std::uint64_t limit = UINT64_MAX);

  // The next text; empty when it is not there in full.
  std::string text();

  // Whether all that was read was there, and nothing is left.
  bool at_end() const { return well_formed_ && rest_.empty(); }

  // Whether something was missing or out of range.
  bool failed() const { return !well_formed_; }

 private:
  std::uint64_t fail();

  std::string_view rest_;
  bool well_formed_ = true;
};

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_PACKET_H_
