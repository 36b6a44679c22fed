#include "DocumentText.h"

#include <algorithm>
#include <array>

#include "Utf8.h"

namespace TTMLClient {

namespace {

// Nobody reads more in one line; keeps a document of one endless text from being copied.
constexpr std::size_t kLongestText = 4096;

constexpr std::size_t kLongestEntity = 12;

bool IsBlank(char character)
{
    return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

// The code point of a character reference or a predefined entity ("#65", "#x41", "amp"); 0 for others.
char32_t EntityValue(const std::string& name)
{
    if (name == "amp") {
        return U'&';
    }
    if (name == "lt") {
        return U'<';
    }
    if (name == "gt") {
        return U'>';
    }
    if (name == "quot") {
        return U'"';
    }
    if (name == "apos") {
        return U'\'';
    }
    if (name.size() < 2 || name[0] != '#') {
        return 0;
    }
    const bool hex = name[1] == 'x';
    const std::string digits = name.substr(hex ? 2 : 1);
    const std::string valid = hex ? "0123456789abcdefABCDEF" : "0123456789";
    if (digits.empty() || digits.size() > 7 || digits.find_first_not_of(valid) != std::string::npos) {
        return 0;
    }
    const unsigned long value = std::stoul(digits, nullptr, hex ? 16 : 10);
    const bool scalar = value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
    return scalar ? static_cast<char32_t>(value) : 0;
}

// Collects text with its blanks collapsed.
class Collector
{
public:
    void Add(char character)
    {
        if (IsBlank(character)) {
            m_blank = true;
            return;
        }
        Separate();
        m_text += character;
    }

    void Add(char32_t codePoint)
    {
        if (codePoint < 0x80) {
            Add(static_cast<char>(codePoint));
            return;
        }
        Separate();
        AppendCodePoint(m_text, codePoint);
    }

    bool Full() const { return m_text.size() >= kLongestText; }
    const std::string& Text() const { return m_text; }

    void Clear()
    {
        m_text.clear();
        m_blank = false;
    }

private:
    void Separate()
    {
        if (m_blank && !m_text.empty()) {
            m_text += ' ';
        }
        m_blank = false;
    }

    std::string m_text;
    bool m_blank = false; // blanks were read since the last character
};

// Walks over a document, tag by tag.
class Scanner
{
public:
    explicit Scanner(const std::string& document)
        : m_document(document)
    {}

    std::string Run()
    {
        while (m_at < m_document.size() && !m_done) {
            if (m_document[m_at] == '<') {
                ReadMarkup();
            } else {
                ReadText(std::min(m_document.find('<', m_at), m_document.size()), true);
            }
        }
        return m_paragraph.Text().empty() ? m_loose.Text() : m_paragraph.Text();
    }

private:
    bool StartsWith(const char* text) const
    {
        return m_document.compare(m_at, std::char_traits<char>::length(text), text) == 0;
    }

    // Moves past the next `end`, or to the end of the document.
    void SkipPast(const char* end)
    {
        const std::size_t found = m_document.find(end, m_at);
        m_at = found == std::string::npos ? m_document.size() : found + std::char_traits<char>::length(end);
    }

    void ReadMarkup()
    {
        if (StartsWith("<!--")) {
            m_at += 4;
            SkipPast("-->");
        } else if (StartsWith("<![CDATA[")) {
            m_at += 9;
            ReadText(std::min(m_document.find("]]>", m_at), m_document.size()), false);
            SkipPast("]]>");
        } else if (StartsWith("<?")) {
            SkipPast("?>");
        } else if (StartsWith("<!")) {
            SkipPast(">");
        } else {
            ReadTag();
        }
    }

    void ReadTag()
    {
        const std::size_t end = TagEnd();
        const bool closing = m_at + 1 < end && m_document[m_at + 1] == '/';
        const bool empty = m_document[end - 1] == '/' && end - 1 > m_at;
        const std::string name = LocalName(m_at + (closing ? 2 : 1), end);
        m_at = std::min(end + 1, m_document.size());
        if (closing) {
            Close(name);
        } else {
            Open(name, empty);
        }
    }

    // Where the tag's '>' stands: not inside a quoted attribute.
    std::size_t TagEnd() const
    {
        char quote = 0;
        for (std::size_t at = m_at + 1; at < m_document.size(); ++at) {
            const char character = m_document[at];
            if (quote != 0) {
                quote = character == quote ? '\0' : quote;
            } else if (character == '"' || character == '\'') {
                quote = character;
            } else if (character == '>') {
                return at;
            }
        }
        return m_document.size();
    }

    std::string LocalName(std::size_t first, std::size_t end) const
    {
        std::size_t last = first;
        while (last < end && !IsBlank(m_document[last]) && m_document[last] != '/') {
            if (m_document[last] == ':') {
                first = last + 1;
            }
            ++last;
        }
        return m_document.substr(first, last - first);
    }

    // Elements whose content is about the document or is data, not text for a viewer.
    static bool IsSilent(const std::string& name)
    {
        static const std::array<const char*, 9> kSilent = {"head",  "metadata", "title",  "desc", "copyright",
                                                           "agent", "image",    "source", "data"};
        return std::find(kSilent.begin(), kSilent.end(), name) != kSilent.end();
    }

    void Open(const std::string& name, bool empty)
    {
        if (name == "br") {
            AddBlank();
        } else if (empty) {
            return;
        } else if (m_silentDepth > 0 || IsSilent(name)) {
            m_silentDepth += IsSilent(name) ? 1 : 0;
        } else if (name == "p") {
            ++m_paragraphDepth;
        } else if (name == "body") {
            // What stood before it was not the document's text.
            m_loose.Clear();
        }
    }

    void Close(const std::string& name)
    {
        if (m_silentDepth > 0) {
            m_silentDepth -= IsSilent(name) ? 1 : 0;
            return;
        }
        if (name == "p" && m_paragraphDepth > 0) {
            --m_paragraphDepth;
            m_done = m_paragraphDepth == 0 && !m_paragraph.Text().empty();
        } else if (name == "div" || name == "body") {
            AddBlank();
        }
    }

    Collector& Target() { return m_paragraphDepth > 0 ? m_paragraph : m_loose; }

    void AddBlank() { Target().Add(' '); }

    void ReadText(std::size_t end, bool entities)
    {
        if (m_silentDepth > 0) {
            m_at = end;
            return;
        }
        Collector& target = Target();
        while (m_at < end && !target.Full()) {
            if (entities && m_document[m_at] == '&' && ReadEntity(end, target)) {
                continue;
            }
            // A zero byte ends some documents of a broadcast; it is no character of theirs.
            if (m_document[m_at] != '\0') {
                target.Add(m_document[m_at]);
            }
            ++m_at;
        }
        m_done = m_done || (m_paragraphDepth > 0 && target.Full());
        m_at = end;
    }

    bool ReadEntity(std::size_t end, Collector& target)
    {
        const std::size_t stop = m_document.find(';', m_at);
        if (stop >= end || stop - m_at > kLongestEntity) {
            return false;
        }
        const char32_t value = EntityValue(m_document.substr(m_at + 1, stop - m_at - 1));
        if (value == 0) {
            return false;
        }
        target.Add(value);
        m_at = stop + 1;
        return true;
    }

    const std::string& m_document;
    std::size_t m_at = 0;
    std::size_t m_silentDepth = 0;
    std::size_t m_paragraphDepth = 0;
    Collector m_paragraph;
    Collector m_loose; // text outside paragraphs
    bool m_done = false;
};

} // namespace

std::string FirstText(const std::string& document)
{
    return Scanner(document).Run();
}

} // namespace TTMLClient
