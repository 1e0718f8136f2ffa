// The bytes after DATA, turned back into the message that the client had.
#ifndef QUARROW_LMTP_DATA_DECODER_H_
#define QUARROW_LMTP_DATA_DECODER_H_

#include <cstddef>
#include <cstdint>
#include <string>

namespace Quarrow::Lmtp {

// Finds the end of a message (CRLF "." CRLF and nothing that resembles it), removes the dots that
// the client put in front of lines (RFC 5321, section 4.5.2), and gives lines that end with LF, as
// files have them. It only notes the faults of a message: the client sends all of it before it
// reads a reply.
class DataDecoder {
 public:
  // `longest_line` counts the CRLF, but no dot that was put in front.
  explicit DataDecoder(std::size_t longest_line) : longest_line_(longest_line) {}

  // Decodes up to `size` bytes of `data` and appends the text to `out`. Gives the number of bytes
  // that it took: fewer than `size` only when the message ended within them.
  std::size_t decode(const char* data, std::size_t size, std::string& out);

  bool is_complete() const { return complete_; }

  // Octets up to now as RFC 1870 counts them: with CRLF line ends, without the dots that the client
  // put in front.
  std::uint64_t size() const { return size_; }

  // Whether a LF without CR came. A reader that takes it for the end of a line may take one message
  // for two.
  bool has_bare_lf() const { return bare_lf_; }

  // Whether a line passed the limit.
  bool has_long_line() const { return long_line_; }

 private:
  enum class At { line_start, dot, dot_cr, text };

  bool step(char c);
  std::size_t take_text(const char* data, std::size_t size, std::string& out);
  void add(const char* data, std::size_t size, std::string& out);
  void end_line(std::string& out);

  const std::size_t longest_line_;
  At at_ = At::line_start;
  bool cr_ = false;  // the last byte was a CR, which is not yet in `out`
  std::size_t line_ = 0;
  std::uint64_t size_ = 0;
  bool complete_ = false;
  bool bare_lf_ = false;
  bool long_line_ = false;
};

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_DATA_DECODER_H_
