// The mail server's message parser, as far as the filters need it: addresses, headers, charsets,
// temporary files.
#ifndef ZVELLPARSER_H_
#define ZVELLPARSER_H_

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

// An e-mail address. Null when it is default-made, or made from a text that is no address.
class EmailAddress {
 public:
  EmailAddress() = default;

  // From "user@example.org": a local part of at most 64 octets and a domain of at most 255 (RFC
  // 5321, section 4.5.3.1), neither of them empty. Blanks and punctuation that separates addresses
  // only stand in a quoted local part, control bytes nowhere; 8-bit text may stand in both (RFC
  // 6531).
  explicit EmailAddress(const std::string& text);

  const std::string& address() const { return address_; }
  bool isNull() const { return address_.empty(); }

 private:
  std::string address_;
};

// A text that may be absent.
class TypeAndValue {
 public:
  TypeAndValue() = default;
  explicit TypeAndValue(std::string value);

  bool isNull() const { return !present_; }
  const std::string& value() const { return value_; }

 private:
  bool present_ = false;
  std::string value_;
};

// One header of a message. Its value is the raw text, unfolded (RFC 5322, section 2.2.3), without
// NULs and without the blanks around it; an address header that the Sieve interpreter could not
// read is given in a form that it can. A header with an empty value is not null.
class Header : public TypeAndValue {
 public:
  using TypeAndValue::TypeAndValue;
};

// The headers of a message in their order.
class HeaderContainer {
 public:
  // The first header of that name, regardless of ASCII case; a null one when there is none.
  Header find(const std::string& name) const;

 private:
  friend class MimePart;
  std::string lines_;                // "name:value\n" each: made faster than a string for each
  std::vector<std::size_t> starts_;  // of the lines
};

// A parsed message.
class MimePart {
 public:
  // Parses a whole message, with LF or CRLF; only its header block is looked at, so that
  // attachments cost nothing. Never null: a line that can't be read as a header is left out, such
  // as the "From " line of an mbox.
  static std::unique_ptr<MimePart> parse(const char* data, std::size_t length);

  const HeaderContainer& headers() const { return headers_; }

 private:
  HeaderContainer headers_;
};

// A growing run of bytes. The bytes are followed by a NUL that does not count.
class Buffer {
 public:
  void append(const char* data, std::size_t length) { bytes_.append(data, length); }
  const char* data() const { return bytes_.c_str(); }
  std::size_t size() const { return bytes_.size(); }

 private:
  std::string bytes_;
};

// The place of a message among the bytes of an mbox file.
struct MessageSpan {
  std::size_t offset;
  std::size_t length;
};

// The messages of an mbox file (RFC 4155) in their order, without their "From " lines and without
// the empty line that ends each of them. No messages when the file does not begin with a "From "
// line that holds a time; further "From " lines count behind an empty line only.
std::vector<MessageSpan> mbox_messages(const char* data, std::size_t length);

// A new, empty file that only its owner may read (mode 0600) and that goes away with this object.
class TempFile {
 public:
  // `prefix` is the path that the name starts with; an empty one stands for a file in $TMPDIR, or
  // else /tmp.
  explicit TempFile(const std::string& prefix);
  ~TempFile();
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;

  // The path; empty when the file could not be made.
  const std::string& name() const { return name_; }

 private:
  std::string name_;
};

// Charset conversion.
struct ZvellConv {
  // `length` bytes of UTF-8 in another charset, of which ICU knows the name; "IMAP-mailbox-name" is
  // modified UTF-7 (RFC 3501, section 5.1.3). At most `limit` bytes of `data` (and never more than
  // 64 MiB) are converted, cut before a character that would pass it. Bytes that are no UTF-8
  // become U+FFFD. An unknown charset gives an empty buffer.
  static Buffer fromUtf8(const char* charset, const char* data, std::size_t length,
                         std::size_t limit);
};

// Charsets to try for raw 8-bit text that is no UTF-8, ahead of the built-in windows-1252.
struct ZVLStaticCharSetFallbacks {
  std::vector<std::string> charsets;
};

// A header's value as valid UTF-8 without NULs: RFC 2047 words and raw 8-bit text decoded. Never
// fails: text that can't be decoded survives as far as it can be read. UTF-8 text without an
// encoded word comes back as it is. Of a long value come the first 64 KB, cut between characters,
// and nothing behind the first 512 KB of `text`. `fallbacks` may be null.
Buffer stringToUtf8(const std::string& text, const ZVLStaticCharSetFallbacks* fallbacks);

#endif  // ZVELLPARSER_H_
