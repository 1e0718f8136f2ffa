// ezXML behind a few functions. Its own file reader is not used: see xml_text.h.
#include "message_filters/xml_document.h"

#include <ezxml.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

#include "message_filters/xml_text.h"
#include "system/descriptor.h"

namespace Quarrow::MessageFilters {

namespace {

const char declaration[] = R"(<?xml version="1.0" encoding="utf-8"?>)";

bool is_regular_file(int fd) {
  struct stat status;
  return fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
}

// All that is in a file; nothing when it can't be read or holds more than `limit` bytes.
std::optional<std::string> read_all(int fd, std::size_t limit) {
  std::string content;
  char chunk[16384];  // stacks of threads may be small
  for (;;) {
    const ssize_t count = read(fd, chunk, sizeof chunk);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 || content.size() > limit) return std::nullopt;
    if (count == 0) return content;
    content.append(chunk, static_cast<std::size_t>(count));
  }
}

std::optional<std::string> read_document(const std::string& path) {
  // O_NONBLOCK: opening a fifo would wait for a writer.
  const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (file.get() < 0 || !is_regular_file(file.get())) return std::nullopt;
  return read_all(file.get(), most_xml_bytes);
}

bool holds_nul(const std::string& text) { return text.find('\0') != std::string::npos; }

// To ezXML, no text is an attribute that is removed.
char* copy_for_ezxml(const std::string& text) {
  char* const copy = strdup(text.c_str());
  if (!copy) throw std::bad_alloc();
  return copy;
}

}  // namespace

// ezxml_free() calls itself for every element of a row and for every level, so that a large
// document would use up the stack. It is called for one element at a time, children first.
void XmlTreeFree::operator()(ezxml* root) const {
  for (ezxml* element = root; element->child || element != root;) {
    if (element->child) {
      element = element->child;
      continue;
    }
    ezxml* const parent = element->parent;
    ezxml_remove(element);
    element = parent;
  }
  ezxml_free(root);
}

XmlTree parse_xml_file(const std::string& path) {
  const auto document = read_document(path);
  return document ? parse_xml(*document) : nullptr;
}

XmlTree parse_xml(const std::string& document) {
  const auto text = readable_xml(document);
  if (!text || text->empty()) return nullptr;

  XmlTreeFree owner{std::make_unique<char[]>(text->size())};
  std::memcpy(owner.text.get(), text->data(), text->size());
  ezxml* const root = ezxml_parse_str(owner.text.get(), text->size());
  XmlTree tree(root, std::move(owner));
  if (!tree || *ezxml_error(root) || !root->name) return nullptr;
  return tree;
}

ezxml* xml_child(ezxml* element, const char* name) { return ezxml_child(element, name); }

ezxml* xml_next(ezxml* element) { return ezxml_next(element); }

ezxml* xml_first_child(ezxml* element) { return element ? element->child : nullptr; }

ezxml* xml_following(ezxml* child) { return child->ordered; }

std::string xml_name(const ezxml* element) { return element->name; }

std::string xml_text(const ezxml* element) { return decode_references(ezxml_txt(element)); }

std::optional<std::string> xml_attribute(ezxml* element, const char* name) {
  const char* const value = ezxml_attr(element, name);
  if (!value) return std::nullopt;
  return decode_references(value);
}

std::vector<std::pair<std::string, std::string>> xml_attributes(const ezxml* element) {
  std::vector<std::pair<std::string, std::string>> all;
  for (char** each = element->attr; each[0]; each += 2)
    all.emplace_back(each[0], decode_references(each[1]));
  return all;
}

XmlTree new_xml_document(const char* root) {
  XmlTree document(ezxml_new(root));
  (void)set_xml_attribute(document.get(), "version", "1.0");  // holds no NUL
  return document;
}

ezxml* add_xml_child(ezxml* parent, const char* name) {
  // The same offset for all children: they then come in the order in which they are added.
  return ezxml_add_child(parent, name, 0);
}

// ezXML's copying macros are not used: in one edition of ezXML they name a function of another
// library.
ezxml* add_xml_child(ezxml* parent, const char* name, const std::string& text) {
  if (holds_nul(text)) return nullptr;
  ezxml* const child = add_xml_child(parent, name);
  if (!child) return nullptr;
  // NOLINTNEXTLINE(clang-analyzer-unix.Malloc): ezXML frees the copy
  return ezxml_set_flag(ezxml_set_txt(child, copy_for_ezxml(text)), EZXML_TXTM);
}

ezxml* set_xml_attribute(ezxml* element, const char* name, const std::string& value) {
  if (!element || holds_nul(value)) return nullptr;
  // NOLINTNEXTLINE(clang-analyzer-unix.Malloc): ezXML frees the copies
  return ezxml_set_attr(ezxml_set_flag(element, EZXML_DUP), copy_for_ezxml(name),
                        copy_for_ezxml(value));
}

bool write_xml(XmlTree document, std::ostream& out) {
  const std::unique_ptr<char, decltype(&std::free)> text(ezxml_toxml(document.get()), &std::free);
  document.reset();
  if (!text || !*text) return false;
  if (!readable_xml(std::string(declaration) + '\n' + text.get())) return false;
  out << declaration << std::endl << text.get();
  return true;
}

}  // namespace Quarrow::MessageFilters
