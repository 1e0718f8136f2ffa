// Random texts and keyed hashes; the only file that knows libsodium.
#ifndef QUARROW_SIGNING_IN_SECRET_KEY_H_
#define QUARROW_SIGNING_IN_SECRET_KEY_H_

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace Quarrow::SigningIn {

// The length of a text for 32 bytes in base64url (RFC 4648, section 5) without padding.
constexpr std::size_t secret_text_size = 43;

// A text of 32 random bytes, in base64url. Nobody guesses it.
std::string random_secret();

// Whether the texts are the same. The time that it takes tells nothing but their lengths.
bool are_equal_secrets(std::string_view one, std::string_view other);

// Overwrites the text, and empties it. Copies of it are not known here.
void wipe(std::string& text);

// A key that a process makes for itself, and that ends with the process.
class SecretKey {
 public:
  SecretKey();
  ~SecretKey();
  SecretKey(const SecretKey&) = delete;
  SecretKey& operator=(const SecretKey&) = delete;

  // A hash of `text` that nobody makes without the key, in base64url.
  std::string hash(std::string_view text) const;

  // A short one, for tables: nobody without the key makes two texts that share one.
  std::uint64_t short_hash(std::string_view text) const;

 private:
  std::array<unsigned char, 32> key_;
};

}  // namespace Quarrow::SigningIn

#endif  // QUARROW_SIGNING_IN_SECRET_KEY_H_
