// libsodium's SHA-256.
#include "moving/sha256.h"

#include <sodium.h>

#include <array>
#include <cstdio>

#include "system/loaded_library.h"

namespace Quarrow::Moving {
namespace {

// The functions that are used of libsodium. None of them can fail.
struct Functions {
  const LoadedLibrary library{"libsodium.so.23"};
  decltype(&crypto_hash_sha256_init) const init = library["crypto_hash_sha256_init"];
  decltype(&crypto_hash_sha256_update) const update = library["crypto_hash_sha256_update"];
  decltype(&crypto_hash_sha256_final) const final = library["crypto_hash_sha256_final"];
};

const Functions& libsodium() {
  static const Functions functions;
  return functions;
}

}  // namespace

struct Sha256::State {
  crypto_hash_sha256_state hashed;
};

Sha256::Sha256() : state_(std::make_unique<State>()) { (void)libsodium().init(&state_->hashed); }

Sha256::~Sha256() = default;

void Sha256::add(const char* data, std::size_t size) {
  (void)libsodium().update(&state_->hashed, reinterpret_cast<const unsigned char*>(data), size);
}

std::string Sha256::text() const {
  State end = *state_;
  std::array<unsigned char, crypto_hash_sha256_BYTES> sum{};
  (void)libsodium().final(&end.hashed, sum.data());
  std::string text;
  for (const unsigned char byte : sum) {
    std::array<char, 3> digits{};
    (void)std::snprintf(digits.data(), digits.size(), "%02x", byte);
    text += digits.data();
  }
  return text;
}

}  // namespace Quarrow::Moving
