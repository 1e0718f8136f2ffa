// The resources below /api/v1, for one user who has signed in. docs/openapi.json describes them.
#ifndef QUARROW_WEB_API_API_H_
#define QUARROW_WEB_API_API_H_

#include <zvellparser.h>

#include <chrono>
#include <cstddef>
#include <string>

#include "http/message.h"
#include "quarrow/delivery/folder_dots.h"

namespace Quarrow::WebApi {

// How much mail one answer of a preview looks at, and all answers together.
struct PreviewBounds {
  std::chrono::milliseconds time{150};  // after which it looks at no further message
  std::size_t messages = 5000;
};

// Whose rules they are, and where.
struct Context {
  EmailAddress user;      // as the server spells it; not null
  std::string root;       // the folder of the users' folders
  std::string catalogue;  // the path of the system's catalogue of fields
  Delivery::FolderDots dots = Delivery::FolderDots::inbox;  // as at delivery
  std::chrono::milliseconds patience{5000};  // with another process that changes the rules
  PreviewBounds preview = {};
};

// Answers a request of the user. Work on their rules is done in a process of its own, which becomes
// the owner of their folder where this one is root. What can't be done is told by a problem
// (RFC 9457); it throws nothing. The caller bounds the length of the request.
Http::Response answer(const Context& context, const Http::Request& request);

// Whether answering that request takes what Delivery::prepare_for_helpers loads: messages are
// evaluated for it. It looks at the target's beginning alone, and may be wrong about one that is no
// resource's.
bool evaluates_mail(const Http::Request& request);

}  // namespace Quarrow::WebApi

#endif  // QUARROW_WEB_API_API_H_
