// The settings of an administrator, from the command line and a file.
#ifndef QUARROW_APPS_QUARROW_WEBD_WEB_OPTIONS_H_
#define QUARROW_APPS_QUARROW_WEBD_WEB_OPTIONS_H_

#include <string>

#include "http/limits.h"
#include "message_filters/user_files.h"
#include "quarrow/delivery/folder_dots.h"
#include "server/daemon.h"
#include "signing_in/imap_sign_in.h"
#include "web_server/limits.h"

namespace Quarrow::Webd {

// A reload changes those in `server` that may change, the page, and the limits in `http`.
struct Options {
  Options();

  Server::DaemonSettings server;
  std::string root = "/var/spool/quarrow";   // folder of the users' folders
  std::string catalogue = system_catalogue;  // of fields
  std::string page = QUARROW_PAGE_FOLDER;    // folder of the page's files
  Delivery::FolderDots folder_dots = Delivery::FolderDots::inbox;
  SigningIn::ImapServer imap;  // no URL: nobody signs in with a password
  bool trusts_proxy_user = false;
  Http::Limits http;
  WebServer::Limits work;
};

// The outcome of reading the arguments.
struct Parsed {
  enum class Outcome { run, help, wrong };

  Outcome outcome = Outcome::wrong;
  Options options;   // for run
  std::string text;  // for help: the text to print; for wrong: the reason
};

// Reads the command line and the file that it names with --config, whose settings it overrides.
Parsed parse_options(int argc, const char* const* argv);

}  // namespace Quarrow::Webd

#endif  // QUARROW_APPS_QUARROW_WEBD_WEB_OPTIONS_H_
