// What each resource answers. The table in api.cc says which method and path leads where.
#ifndef QUARROW_WEB_API_RESOURCES_H_
#define QUARROW_WEB_API_RESOURCES_H_

#include "http/message.h"
#include "web_api/call.h"

namespace Quarrow::WebApi {

// rules_resource.cc
Http::Response list_filters(const Call& call);
Http::Response show_filter(const Call& call);
Http::Response add_filter(const Call& call);
Http::Response replace_filter(const Call& call);
Http::Response switch_filter(const Call& call);
Http::Response move_filter(const Call& call);
Http::Response remove_filter(const Call& call);
Http::Response replace_filters(const Call& call);

// check_resource.cc
Http::Response check_rule(const Call& call);

// fields_resource.cc
Http::Response list_fields(const Call& call);
Http::Response list_folders(const Call& call);

// history_resource.cc
Http::Response list_history(const Call& call);
Http::Response show_state(const Call& call);
Http::Response undo_change(const Call& call);
Http::Response redo_change(const Call& call);
Http::Response restore_state(const Call& call);

// application_resource.cc
Http::Response show_application(const Call& call);
Http::Response plan_application(const Call& call);
Http::Response start_application(const Call& call);
Http::Response stop_application(const Call& call);
Http::Response undo_application(const Call& call);

// exchange_resource.cc
Http::Response export_filters(const Call& call);
Http::Response import_filters(const Call& call);

// preview_resource.cc
Http::Response preview_filter(const Call& call);

// messages_resource.cc
Http::Response list_messages(const Call& call);
Http::Response show_message(const Call& call);

// explanation_resource.cc
Http::Response explain_message(const Call& call);

// statistics_resource.cc
Http::Response show_statistics(const Call& call);

}  // namespace Quarrow::WebApi

#endif  // QUARROW_WEB_API_RESOURCES_H_
