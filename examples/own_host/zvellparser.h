// The message parser of the example host: header lines, one a header, as they stand.
#ifndef ZVELLPARSER_H_
#define ZVELLPARSER_H_

#include <cstddef>
#include <map>
#include <memory>
#include <string>

class EmailAddress {
 public:
  EmailAddress() = default;
  explicit EmailAddress(const std::string& text);
  const std::string& address() const { return address_; }
  bool isNull() const { return address_.empty(); }

 private:
  std::string address_;
};

class TypeAndValue {
 public:
  TypeAndValue() = default;
  explicit TypeAndValue(const std::string& value) : value_(value), null_(false) {}
  bool isNull() const { return null_; }
  const std::string& value() const { return value_; }

 private:
  std::string value_;
  bool null_ = true;
};

class Header : public TypeAndValue {
  using TypeAndValue::TypeAndValue;
};

class HeaderContainer {
 public:
  Header find(const std::string& name) const;
  void add(const std::string& name, const std::string& value);

 private:
  std::map<std::string, std::string> values_;  // by name in lower case
};

class MimePart {
 public:
  static std::unique_ptr<MimePart> parse(const char* data, std::size_t length);
  const HeaderContainer& headers() const { return headers_; }

 private:
  HeaderContainer headers_;
};

class Buffer {
 public:
  void append(const char* data, std::size_t length) { bytes_.append(data, length); }
  const char* data() const { return bytes_.c_str(); }
  std::size_t size() const { return bytes_.size(); }

 private:
  std::string bytes_;
};

class TempFile {
 public:
  explicit TempFile(const std::string& prefix);
  ~TempFile();
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;
  const std::string& name() const { return name_; }

 private:
  std::string name_;
};

struct ZvellConv {
  static Buffer fromUtf8(const char* charset, const char* data, std::size_t length,
                         std::size_t limit);
};

struct ZVLStaticCharSetFallbacks;
Buffer stringToUtf8(const std::string& text, const ZVLStaticCharSetFallbacks* fallbacks);

#endif  // ZVELLPARSER_H_
