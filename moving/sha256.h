// The sum by which a changed archive is known.
#ifndef QUARROW_MOVING_SHA256_H_
#define QUARROW_MOVING_SHA256_H_

#include <cstddef>
#include <memory>
#include <string>

namespace Quarrow::Moving {

// SHA-256 (FIPS 180-4) of bytes that come one block after the other.
class Sha256 {
 public:
  // Throws std::runtime_error when the library for it is missing.
  Sha256();
  ~Sha256();
  Sha256(const Sha256&) = delete;
  Sha256& operator=(const Sha256&) = delete;

  void add(const char* data, std::size_t size);

  // The sum of all bytes so far, as 64 hexadecimal digits. More bytes may follow.
  std::string text() const;

 private:
  struct State;
  const std::unique_ptr<State> state_;
};

}  // namespace Quarrow::Moving

#endif  // QUARROW_MOVING_SHA256_H_
