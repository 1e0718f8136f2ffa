// quarrow home node: the machines that users live on.
#include <iostream>
#include <memory>

#include "apps/quarrow/commands/homes_file.h"
#include "apps/quarrow/listing.h"
#include "homes/home_listing.h"

namespace Quarrow::Command {
namespace {

using Homes::HomesTransaction;
using Start = HomesTransaction::Start;

struct NodeOptions {
  std::string file = default_homes_file;
  std::string node;
  std::string transport;
  ListingForm form = ListingForm::table;
};

int node_add(const NodeOptions& options) {
  return change_homes(
      options.file, Start::with_any,
      [&](HomesTransaction& transaction) {
        return transaction.add_node(options.node, options.transport);
      });
}

int node_list(const NodeOptions& options) {
  Listing listing({"node", "transport"});
  const int status = told(Homes::list_nodes(options.file, [&listing](const Homes::Node& node) {
    listing.add({node.name, node.transport});
  }));
  if (status == 0) listing.print(options.form, std::cout);
  return status;
}

int node_remove(const NodeOptions& options) {
  return change_homes(
      options.file, Start::with_a_table,
      [&](HomesTransaction& transaction) { return transaction.remove_node(options.node); });
}

void add_node(CLI::App& app, std::string& node) {
  add_option(app, "node", node, "The node's name").type_name("").required();
}

}  // namespace

Run declare_home_node_add(CLI::App& app) {
  const auto options = std::make_shared<NodeOptions>();
  add_homes_option(app, options->file);
  add_node(app, options->node);
  add_option(app, "transport", options->transport,
             "How mail gets there: a transport of Postfix with its next hop")
      .type_name("")
      .required();
  return [options](const Settings& /*settings*/) { return node_add(*options); };
}

Run declare_home_node_list(CLI::App& app) {
  const auto options = std::make_shared<NodeOptions>();
  add_homes_option(app, options->file);
  add_format_option(app, options->form);
  return [options](const Settings& /*settings*/) { return node_list(*options); };
}

Run declare_home_node_remove(CLI::App& app) {
  const auto options = std::make_shared<NodeOptions>();
  add_homes_option(app, options->file);
  add_node(app, options->node);
  return [options](const Settings& /*settings*/) { return node_remove(*options); };
}

}  // namespace Quarrow::Command
