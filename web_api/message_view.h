// Messages, and the places where they go, as the API shows them.
#ifndef QUARROW_WEB_API_MESSAGE_VIEW_H_
#define QUARROW_WEB_API_MESSAGE_VIEW_H_

#include <nlohmann/json.hpp>

#include "quarrow/delivery/delivery_plan.h"
#include "trial/isolated_runs.h"
#include "web_api/mail_listing.h"

namespace Quarrow::WebApi {

// The message that `listing` has opened: its identifier, the opaque_text() of its unique part, the
// headers that people know messages by, when it came, whether somebody has read it, and its size.
// `runs` decodes the headers. One that could not be read has none of them.
nlohmann::ordered_json view_of(const ListedMessage& listed, const OpenedMessage& opened,
                               const MailListing& listing, Trial::IsolatedRuns& runs);

// The place of a plan: its kind, its folders as people read them, and the same in words.
nlohmann::ordered_json place_of(const Delivery::Plan& plan, Delivery::FolderDots dots);

}  // namespace Quarrow::WebApi

#endif  // QUARROW_WEB_API_MESSAGE_VIEW_H_
