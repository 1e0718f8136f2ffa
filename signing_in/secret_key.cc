// libsodium's random numbers, its HMAC-SHA-512-256 and its SipHash.
#include "signing_in/secret_key.h"

#include <sodium.h>

#include <cstdlib>
#include <cstring>

namespace Quarrow::SigningIn {
namespace {

using Bytes = std::array<unsigned char, 32>;

static_assert(crypto_auth_BYTES == Bytes().size() && crypto_auth_KEYBYTES == Bytes().size());
static_assert(crypto_shorthash_KEYBYTES <= Bytes().size());
static_assert(sodium_base64_ENCODED_LEN(Bytes().size(), sodium_base64_VARIANT_URLSAFE_NO_PADDING) ==
              secret_text_size + 1);

Bytes random_bytes() {
  if (sodium_init() < 0) std::abort();  // the system has no random numbers
  Bytes bytes;
  randombytes_buf(bytes.data(), bytes.size());
  return bytes;
}

std::string as_text(const Bytes& bytes) {
  std::string text(secret_text_size + 1, '\0');  // with the zero at its end
  (void)sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(),
                          sodium_base64_VARIANT_URLSAFE_NO_PADDING);
  text.pop_back();
  return text;
}

}  // namespace

std::string random_secret() { return as_text(random_bytes()); }

bool are_equal_secrets(std::string_view one, std::string_view other) {
  return one.size() == other.size() && sodium_memcmp(one.data(), other.data(), one.size()) == 0;
}

void wipe(std::string& text) {
  sodium_memzero(text.data(), text.size());
  text.clear();
}

SecretKey::SecretKey() : key_(random_bytes()) {}

SecretKey::~SecretKey() { sodium_memzero(key_.data(), key_.size()); }

std::string SecretKey::hash(std::string_view text) const {
  Bytes hash;
  (void)crypto_auth(hash.data(), reinterpret_cast<const unsigned char*>(text.data()), text.size(),
                    key_.data());  // it can't fail
  return as_text(hash);
}

std::uint64_t SecretKey::short_hash(std::string_view text) const {
  std::array<unsigned char, crypto_shorthash_BYTES> hash;
  (void)crypto_shorthash(hash.data(), reinterpret_cast<const unsigned char*>(text.data()),
                         text.size(), key_.data());  // it can't fail
  std::uint64_t number = 0;
  static_assert(sizeof number == hash.size());
  std::memcpy(&number, hash.data(), sizeof number);
  return number;
}

}  // namespace Quarrow::SigningIn
