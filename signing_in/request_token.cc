// A keyed hash of the session's.
#include "signing_in/request_token.h"

namespace Quarrow::SigningIn {

std::string request_token(const SecretKey& key, const Session& session) {
  return key.hash(session.hash);
}

bool is_request_token(const SecretKey& key, const Session& session, std::string_view token) {
  return are_equal_secrets(request_token(key, session), token);
}

}  // namespace Quarrow::SigningIn
