// Work in the folder of one user, with the rights of its owner.
#ifndef QUARROW_WEB_SERVER_USER_WORK_H_
#define QUARROW_WEB_SERVER_USER_WORK_H_

#include <zvellparser.h>

#include <functional>
#include <string>

#include "http/message.h"

namespace Quarrow::WebServer {

// Answers a request of that user, who is signed in.
using UserWork =
    std::function<Http::Response(const EmailAddress& user, const Http::Request& request)>;

// Has `work` answer a request of `user`, whose folder lies below the root that mailuser_set_root
// was given. A process of the superuser becomes the owner of that folder first, for good; it does
// not work in a folder of the superuser. The process gains no rights any more.
Http::Response answer_as_owner(const std::string& user, const Http::Request& request,
                               const UserWork& work);

}  // namespace Quarrow::WebServer

#endif  // QUARROW_WEB_SERVER_USER_WORK_H_
