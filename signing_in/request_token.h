// Tokens by which a request shows that a page of ours made it, and not a page of a stranger in the
// same browser.
#ifndef QUARROW_SIGNING_IN_REQUEST_TOKEN_H_
#define QUARROW_SIGNING_IN_REQUEST_TOKEN_H_

#include <string>
#include <string_view>

#include "signing_in/secret_key.h"
#include "signing_in/session_store.h"

namespace Quarrow::SigningIn {

// The token of the session: 43 characters, the same as long as the session lives.
std::string request_token(const SecretKey& key, const Session& session);

// Whether `token` is that of the session. The time that it takes tells nothing of the right one.
bool is_request_token(const SecretKey& key, const Session& session, std::string_view token);

}  // namespace Quarrow::SigningIn

#endif  // QUARROW_SIGNING_IN_REQUEST_TOKEN_H_
