#ifndef MPD_NODE_H
#define MPD_NODE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <pugixml.hpp>

namespace TTMLHost {

// Ways to look at the elements of an MPD, whatever prefix its namespace has.

bool IsElement(const pugi::xml_node& node, const char* localName);
pugi::xml_node ChildElement(const pugi::xml_node& node, const char* localName);
std::vector<pugi::xml_node> ChildElements(const pugi::xml_node& node, const char* localName);

// Nothing when there is no such attribute, or when its value is none of the kind.
std::optional<std::string> TextAttribute(const pugi::xml_node& node, const char* name);
std::optional<std::int64_t> NumberAttribute(const pugi::xml_node& node, const char* name);   // from 0
std::optional<std::int64_t> DurationAttribute(const pugi::xml_node& node, const char* name); // ms

} // namespace TTMLHost

#endif
