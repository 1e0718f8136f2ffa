// Why a request gets no further than the session.
#ifndef QUARROW_HTTP_REFUSAL_H_
#define QUARROW_HTTP_REFUSAL_H_

#include <string>

namespace Quarrow::Http {

struct Refusal {
  int status = 400;
  std::string detail;  // a sentence for people
};

}  // namespace Quarrow::Http

#endif  // QUARROW_HTTP_REFUSAL_H_
