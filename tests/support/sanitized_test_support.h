// Whether the tests run under AddressSanitizer, where everything takes many times as long.
#ifndef QUARROW_TESTS_SUPPORT_SANITIZED_TEST_SUPPORT_H_
#define QUARROW_TESTS_SUPPORT_SANITIZED_TEST_SUPPORT_H_

#ifdef __has_feature  // Clang's; GCC has the other name
#define QUARROW_IS_SANITIZED __has_feature(address_sanitizer)
#elif defined(__SANITIZE_ADDRESS__)
#define QUARROW_IS_SANITIZED true
#else
#define QUARROW_IS_SANITIZED false
#endif

namespace Quarrow {

constexpr bool is_sanitized = QUARROW_IS_SANITIZED;

}  // namespace Quarrow

#undef QUARROW_IS_SANITIZED

#endif  // QUARROW_TESTS_SUPPORT_SANITIZED_TEST_SUPPORT_H_
