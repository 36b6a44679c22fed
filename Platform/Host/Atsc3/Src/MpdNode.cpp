#include "MpdNode.h"

#include <charconv>
#include <cstring>
#include <string_view>

#include "XmlTime.h"

namespace TTMLHost {

bool IsElement(const pugi::xml_node& node, const char* localName)
{
    const char* const colon = std::strrchr(node.name(), ':');
    return node.type() == pugi::node_element &&
           std::strcmp(colon != nullptr ? colon + 1 : node.name(), localName) == 0;
}

pugi::xml_node ChildElement(const pugi::xml_node& node, const char* localName)
{
    return node.find_child([localName](const pugi::xml_node& child) { return IsElement(child, localName); });
}

std::vector<pugi::xml_node> ChildElements(const pugi::xml_node& node, const char* localName)
{
    std::vector<pugi::xml_node> elements;
    for (const pugi::xml_node& child : node.children()) {
        if (IsElement(child, localName)) {
            elements.push_back(child);
        }
    }
    return elements;
}

std::optional<std::string> TextAttribute(const pugi::xml_node& node, const char* name)
{
    const pugi::xml_attribute attribute = node.attribute(name);
    return attribute.empty() ? std::nullopt : std::optional<std::string>(attribute.value());
}

std::optional<std::int64_t> NumberAttribute(const pugi::xml_node& node, const char* name)
{
    const std::string_view text = node.attribute(name).value();
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < 0) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::int64_t> DurationAttribute(const pugi::xml_node& node, const char* name)
{
    std::int64_t ms = 0;
    const bool isDuration = ParseDuration(node.attribute(name).value(), &ms) && ms >= 0;
    return isDuration ? std::optional<std::int64_t>(ms) : std::nullopt;
}

} // namespace TTMLHost
