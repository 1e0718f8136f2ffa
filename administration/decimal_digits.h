// The digits of numbers in rules.
#ifndef QUARROW_ADMINISTRATION_DECIMAL_DIGITS_H_
#define QUARROW_ADMINISTRATION_DECIMAL_DIGITS_H_

namespace Quarrow::Administration {

inline constexpr char decimal_digits[] = "0123456789";

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_DECIMAL_DIGITS_H_
