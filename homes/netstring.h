// Netstrings: a text with its length in front, "5:hello,".
#ifndef QUARROW_HOMES_NETSTRING_H_
#define QUARROW_HOMES_NETSTRING_H_

#include <cstddef>
#include <string>

namespace Quarrow::Homes {

std::string netstring(const std::string& text);

// Takes one netstring after the other out of bytes that come in blocks.
class NetstringReader {
 public:
  enum class State {
    begin,       // nothing came of a netstring so far
    incomplete,  // a part came
    complete,    // take_text() gives the text
    wrong        // no netstring, or a longer one: this cannot be read on
  };

  // `longest` is the largest length of a text, in bytes.
  explicit NetstringReader(std::size_t longest) : longest_(longest) {}

  // Takes bytes of the netstring under way, and none behind its end; gives how many. Neither after
  // a complete one nor after a wrong one it takes any.
  std::size_t read(const char* data, std::size_t size);

  State state() const { return state_; }

  // The text of a complete netstring, behind which the next one begins.
  std::string take_text();

 private:
  void read_length(char c);
  void end(char c);

  const std::size_t longest_;
  State state_ = State::begin;
  bool in_length_ = true;
  std::size_t length_ = 0;
  std::string text_;
};

}  // namespace Quarrow::Homes

#endif  // QUARROW_HOMES_NETSTRING_H_
