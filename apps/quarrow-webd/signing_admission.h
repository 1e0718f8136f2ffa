// Sessions and sign-ins for the broker.
#ifndef QUARROW_APPS_QUARROW_WEBD_SIGNING_ADMISSION_H_
#define QUARROW_APPS_QUARROW_WEBD_SIGNING_ADMISSION_H_

#include <optional>
#include <string>

#include "signing_in/secret_key.h"
#include "signing_in/sign_in.h"
#include "web_server/admission.h"

namespace Quarrow::Webd {

class SigningAdmission : public WebServer::Admission {
 public:
  // Unless it `trusts_proxy_user`, no name comes in without a session, whatever a worker says.
  SigningAdmission(const SigningIn::SignInSettings& settings, bool trusts_proxy_user)
      : look_up_(settings.look_up), trusts_proxy_user_(trusts_proxy_user), sign_in_(settings) {}

  std::optional<WebServer::Visitor> visitor(const std::string& session) override;
  std::optional<WebServer::Visitor> visitor_of_proxy(const std::string& name) override;
  bool is_token_of(const WebServer::Visitor& visitor, const std::string& token) override;
  WebServer::Entrance begin(const std::string& user, const std::string& client,
                            WebServer::Attempt& attempt) override;
  WebServer::Entrance finish(const WebServer::Attempt& attempt,
                             WebServer::Verdict verdict) override;
  void end_session(const std::string& session) override;
  void end_all_sessions(const std::string& user) override;

 private:
  WebServer::Entrance entrance(const SigningIn::SignInOutcome& outcome);

  const SigningIn::UserLookup look_up_;
  const bool trusts_proxy_user_;
  const SigningIn::SecretKey proxy_key_;  // for tokens of those who have no session here
  SigningIn::SignIn sign_in_;
};

}  // namespace Quarrow::Webd

#endif  // QUARROW_APPS_QUARROW_WEBD_SIGNING_ADMISSION_H_
