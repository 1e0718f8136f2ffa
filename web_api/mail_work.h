// Work on the mail of the user who asks.
#ifndef QUARROW_WEB_API_MAIL_WORK_H_
#define QUARROW_WEB_API_MAIL_WORK_H_

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "http/message.h"
#include "web_api/call.h"
#include "web_api/mail_listing.h"

namespace Quarrow::WebApi {

// The folder of a request that names none.
constexpr char inbox[] = "INBOX";

// The answer of `work` over the messages of the folder that people read as `folder`, done in a
// process of its own with the rights of the mail's owner. A problem when there is no such folder;
// an inbox that is not there yet has no messages.
Http::Response with_mail(const Call& call, const std::string& folder,
                         const std::function<Http::Response(MailListing&)>& work);

// The problem of a request that names a message which the folder does not hold.
Http::Response no_message();

// That parameter; `other` without it.
std::string parameter_of(const Call& call, const std::string& name, const std::string& other);

// The number in that parameter, from 1 to `most`; `other` without the parameter, and nothing for
// any other value.
std::optional<std::uint32_t> number_of(const Call& call, const std::string& name,
                                       std::uint32_t other, std::uint32_t most);

// The problem of a parameter that can't be taken.
Http::Response wrong_parameter(const std::string& name, const std::string& detail);

}  // namespace Quarrow::WebApi

#endif  // QUARROW_WEB_API_MAIL_WORK_H_
