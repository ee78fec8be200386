#include "engine/files/CJson.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <stdexcept>

namespace engine {

using Library = nlohmann::json;

/// Takes the events of the parser.
class CJsonBuilder : public nlohmann::json_sax<Library> {
public:
    bool null() override { return Add({}); }
    bool boolean(bool value) override { return Add(value); }
    bool number_integer(std::int64_t value) override { return Add(value); }
    bool number_unsigned(std::uint64_t value) override { return Add(value); }
    bool number_float(double value, const std::string& /*text*/) override { return Add(value); }
    bool string(std::string& value) override { return Add(std::move(value)); }
    bool binary(Library::binary_t& /*value*/) override { return false; }
    bool start_object(std::size_t /*size*/) override { return Open(CJson::Object()); }
    bool key(std::string& name) override {
        if (!IsTooDeep())
            m_open.back().name = std::move(name);
        return true;
    }
    bool end_object() override {
        if (!IsTooDeep())
            KeepLastOfEachName(std::get<std::vector<CJson::Member>>(m_open.back().value.m_value));
        return Close();
    }
    bool start_array(std::size_t /*size*/) override { return Open(CJson::Array()); }
    bool end_array() override { return Close(); }
    bool parse_error(std::size_t position, const std::string& /*token*/,
                     const nlohmann::detail::exception& /*error*/) override {
        m_errorPosition = position;
        return false;
    }

    [[nodiscard]] CJson Take() { return std::move(m_root); }
    /// The number of bytes up to and including the first one that is wrong.
    [[nodiscard]] std::size_t ErrorPosition() const { return m_errorPosition; }

private:
    struct StOpen {
        CJson value;
        std::string name; // of the member whose value comes next
    };

    static void KeepLastOfEachName(std::vector<CJson::Member>& members) {
        std::vector<std::size_t> order(members.size());
        for (std::size_t i = 0; i < order.size(); ++i)
            order[i] = i;
        std::stable_sort(order.begin(), order.end(),
                         [&](std::size_t a, std::size_t b) { return members[a].first < members[b].first; });
        std::vector<bool> isDropped(members.size(), false);
        for (std::size_t i = 0; i + 1 < order.size(); ++i)
            isDropped[order[i]] = members[order[i]].first == members[order[i + 1]].first;
        std::size_t place = 0;
        std::erase_if(members, [&](const auto&) { return isDropped[place++]; });
    }

    // What is nested deeper is parsed and dropped, so that destroying the value cannot exhaust the stack.
    [[nodiscard]] bool IsTooDeep() const { return m_tooDeep > 0; }

    bool Open(CJson container) {
        constexpr std::size_t deepest = 1000;
        if (m_open.size() == deepest)
            ++m_tooDeep;
        else
            m_open.push_back({std::move(container), {}});
        return true;
    }

    bool Close() {
        if (IsTooDeep()) {
            --m_tooDeep;
            return true;
        }
        CJson closed = std::move(m_open.back().value);
        m_open.pop_back();
        return Add(std::move(closed));
    }

    bool Add(CJson value) {
        if (IsTooDeep())
            return true;
        if (m_open.empty())
            m_root = std::move(value);
        else if (StOpen& open = m_open.back(); open.value.IsArray())
            open.value.Append(std::move(value));
        else
            open.value.Append(std::move(open.name), std::move(value));
        return true;
    }

    CJson m_root;
    std::vector<StOpen> m_open; // innermost last
    std::size_t m_tooDeep = 0;
    std::size_t m_errorPosition = 0;
};

namespace {

std::string ScalarText(const Library& scalar, bool isAscii) {
    return scalar.dump(-1, ' ', isAscii, Library::error_handler_t::replace);
}

/// Appends the items in brackets; `writeItem(i)` appends one.
template <class WriteItem>
void WriteItems(std::string& text, std::string_view brackets, std::size_t count, int indent, int depth,
                const WriteItem& writeItem) {
    const auto startLine = [&](int level) {
        if (indent >= 0)
            text.append("\n").append(static_cast<std::size_t>(indent * level), ' ');
    };
    text += brackets[0];
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0)
            text += ',';
        startLine(depth + 1);
        writeItem(i);
    }
    if (count > 0)
        startLine(depth);
    text += brackets[1];
}

void Write(std::string& text, const CJson& json, int indent, bool isAscii, int depth) {
    if (json.IsArray()) {
        const auto& elements = json.Elements();
        WriteItems(text, "[]", elements.size(), indent, depth,
                   [&](std::size_t i) { Write(text, elements[i], indent, isAscii, depth + 1); });
    } else if (json.IsObject()) {
        const auto& members = json.Members();
        WriteItems(text, "{}", members.size(), indent, depth, [&](std::size_t i) {
            text.append(ScalarText(members[i].first, isAscii)).append(indent >= 0 ? ": " : ":");
            Write(text, members[i].second, indent, isAscii, depth + 1);
        });
    } else if (json.IsString()) {
        text += ScalarText(json.String(), isAscii);
    } else if (json.IsBool()) {
        text += json.Bool() ? "true" : "false";
    } else if (json.IsInteger()) {
        const auto number = json.IntegerAs<std::int64_t>();
        text += number ? std::to_string(*number) : std::to_string(*json.IntegerAs<std::uint64_t>());
    } else if (json.IsNumber()) {
        text += ScalarText(json.Number(), isAscii);
    } else {
        text += "null";
    }
}

} // namespace

CJson::CJson() = default;
CJson::CJson(const CJson& other) = default;
CJson::CJson(CJson&& other) noexcept = default;
CJson& CJson::operator=(const CJson& other) = default;
CJson& CJson::operator=(CJson&& other) noexcept = default;
CJson::~CJson() = default;
// Clang 16 and what stands on it cannot read "= default" for a variant that holds its own class.
bool CJson::operator==(const CJson& other) const { return m_value == other.m_value; }

CJson::CJson(bool value)
    : m_value(value) {}

CJson::CJson(StInteger value) {
    if (value.isSigned)
        m_value = static_cast<std::int64_t>(value.bits);
    else
        m_value = value.bits;
}

CJson::CJson(double value)
    : m_value(value) {}

CJson::CJson(std::string value)
    : m_value(std::move(value)) {}

CJson::CJson(const char* value)
    : m_value(std::string(value)) {}

void CJson::Append(CJson element) { std::get<std::vector<CJson>>(m_value).push_back(std::move(element)); }

void CJson::Append(std::string name, CJson value) {
    std::get<std::vector<Member>>(m_value).emplace_back(std::move(name), std::move(value));
}

CJson CJson::Array(std::vector<CJson> elements) {
    CJson json;
    json.m_value = std::move(elements);
    return json;
}

CJson CJson::Object(std::vector<Member> members) {
    CJson json;
    json.m_value = std::move(members);
    return json;
}

std::optional<CJson> CJson::Parse(std::string_view text) {
    CJsonBuilder builder;
    return Library::sax_parse(text, &builder) ? std::optional(builder.Take()) : std::nullopt;
}

CJson CJson::ParseOrRaise(std::string_view text) {
    CJsonBuilder builder;
    if (Library::sax_parse(text, &builder))
        return builder.Take();
    const std::string_view before = text.substr(0, std::max<std::size_t>(builder.ErrorPosition(), 1) - 1);
    const auto line = 1 + std::ranges::count(before, '\n');
    const auto column = before.size() - (before.rfind('\n') + 1) + 1; // npos + 1 is 0
    throw std::runtime_error("not valid JSON in line " + std::to_string(line) + ", column " +
                             std::to_string(column));
}

std::string CJson::Text(int indent, bool isAscii) const {
    std::string text;
    Write(text, *this, indent, isAscii, 0);
    return text;
}

double CJson::Number() const {
    if (Is<double>())
        return std::get<double>(m_value);
    return Is<std::uint64_t>() ? static_cast<double>(std::get<std::uint64_t>(m_value))
                               : static_cast<double>(std::get<std::int64_t>(m_value));
}

const CJson* CJson::Find(std::string_view name) const {
    if (!IsObject())
        return nullptr;
    const auto& members = Members();
    const auto found = std::find_if(members.begin(), members.end(),
                                    [name](const Member& member) { return member.first == name; });
    return found != members.end() ? &found->second : nullptr;
}

bool IsUtf8(const std::string& text) {
    try {
        (void)Library(text).dump();
        return true;
    } catch (const Library::type_error&) {
        return false;
    }
}

} // namespace engine
