#include "Atsc3Services.h"

#include <algorithm>
#include <charconv>
#include <system_error>

#include "InputError.h"
#include "Place.h"

namespace TTMLHost {

namespace {

// The last part of a path or URL.
std::string FileNameOf(const std::string& input)
{
    std::string place = input;
    if (IsWebPlace(place)) {
        place.erase(std::min(place.find_first_of("?#"), place.size()));
    }
    const std::size_t slash = place.rfind('/');
    return slash == std::string::npos ? place : place.substr(slash + 1);
}

std::string StemOf(const std::string& name)
{
    return name.substr(0, name.rfind('.'));
}

template <typename NameOf>
std::optional<std::size_t> FindBy(const std::vector<std::string>& inputs, const std::string& name,
                                  const NameOf& nameOf)
{
    for (std::size_t place = 0; place < inputs.size(); ++place) {
        if (nameOf(inputs[place]) == name) {
            return place;
        }
    }
    return std::nullopt;
}

} // namespace

Atsc3Services::Atsc3Services(const std::string& input, const std::vector<std::string>& also)
    : m_inputs(1, input)
{
    m_inputs.insert(m_inputs.end(), also.begin(), also.end());
}

std::optional<std::size_t> Atsc3Services::Find(const std::string& service) const
{
    if (service.empty()) {
        return 0;
    }
    std::size_t id = 0;
    const char* const end = service.data() + service.size();
    const auto read = std::from_chars(service.data(), end, id);
    if (read.ec == std::errc() && read.ptr == end && id >= IdOf(0) && id <= m_inputs.size()) {
        return id - IdOf(0);
    }
    if (const auto place = FindBy(m_inputs, service, [](const std::string& input) { return input; })) {
        return place;
    }
    if (const auto place = FindBy(m_inputs, service, FileNameOf)) {
        return place;
    }
    return FindBy(m_inputs, service, [](const std::string& input) { return StemOf(FileNameOf(input)); });
}

std::string Atsc3Services::NoSuchService(const std::string& service) const
{
    std::string choice;
    for (std::size_t place = 0; place < m_inputs.size(); ++place) {
        choice += choice.empty() ? "choose one of " : ", ";
        choice += std::to_string(IdOf(place)) + " (" + FileNameOf(m_inputs[place]) + ")";
    }
    return DescribeInputFailure("tune to service '" + service + "' of", m_inputs.front(),
                                "there is no such service", choice);
}

} // namespace TTMLHost
