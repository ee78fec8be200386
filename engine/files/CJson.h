#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace engine {

/// A JSON value. Only CJson.cpp knows the library that parses and writes the text: its header would take most
/// of the time that a source which uses JSON takes to compile.
///
/// The members of an object keep their order. Looking one up takes time linear in their number.
class CJson {
public:
    using Member = std::pair<std::string, CJson>;

    /// Null.
    CJson();
    CJson(const CJson& other);
    CJson(CJson&& other) noexcept;
    CJson& operator=(const CJson& other);
    CJson& operator=(CJson&& other) noexcept;
    ~CJson();

    CJson(bool value);
    template <std::integral Integer>
    requires(!std::same_as<Integer, bool>) CJson(Integer value)
        : CJson(StInteger{static_cast<std::uint64_t>(value), std::in_range<std::int64_t>(value)}) {}
    CJson(double value);
    CJson(std::string value);
    CJson(const char* value);
    CJson(std::nullptr_t) = delete;

    /// An array of these elements.
    static CJson Array(std::vector<CJson> elements = {});
    /// An object with these members, whose names must differ.
    static CJson Object(std::vector<Member> members = {});

    /// Parses a text; nothing if it is not valid JSON. Of members with the same name, the last one counts.
    /// Containers nested more than 1000 deep become empty.
    static std::optional<CJson> Parse(std::string_view text);
    /// The same for a text that a person wrote: raises `std::runtime_error` "not valid JSON in line 3, column
    /// 5" if it is not valid.
    static CJson ParseOrRaise(std::string_view text);
    /// Writes the value: on one line, or with `indent` blanks a level. `isAscii` writes other characters as
    /// \uXXXX. Invalid UTF-8 becomes replacement characters.
    [[nodiscard]] std::string Text(int indent = -1, bool isAscii = false) const;

    [[nodiscard]] bool IsNull() const { return Is<std::monostate>(); }
    [[nodiscard]] bool IsBool() const { return Is<bool>(); }
    /// A number without a decimal point or exponent, of 64 bits, signed or unsigned.
    [[nodiscard]] bool IsInteger() const { return Is<std::int64_t>() || Is<std::uint64_t>(); }
    [[nodiscard]] bool IsNumber() const { return IsInteger() || Is<double>(); }
    [[nodiscard]] bool IsString() const { return Is<std::string>(); }
    [[nodiscard]] bool IsArray() const { return Is<std::vector<CJson>>(); }
    [[nodiscard]] bool IsObject() const { return Is<std::vector<Member>>(); }

    // The value as a type that it has been asked for before; any other type is an error of the caller.
    [[nodiscard]] bool Bool() const { return std::get<bool>(m_value); }
    /// The integer; nothing if it is not in the range of the type.
    template <std::integral Integer>
    [[nodiscard]] std::optional<Integer> IntegerAs() const {
        const auto fitting = [](auto number) {
            return std::in_range<Integer>(number) ? std::optional(static_cast<Integer>(number))
                                                  : std::nullopt;
        };
        return Is<std::uint64_t>() ? fitting(std::get<std::uint64_t>(m_value))
                                   : fitting(std::get<std::int64_t>(m_value));
    }
    /// Any number.
    [[nodiscard]] double Number() const;
    [[nodiscard]] const std::string& String() const { return std::get<std::string>(m_value); }
    [[nodiscard]] const std::vector<CJson>& Elements() const { return std::get<std::vector<CJson>>(m_value); }
    [[nodiscard]] const std::vector<Member>& Members() const {
        return std::get<std::vector<Member>>(m_value);
    }

    /// The member of that name; null pointer if there is none, or if the value is not an object.
    [[nodiscard]] const CJson* Find(std::string_view name) const;
    /// Adds an element to an array.
    void Append(CJson element);
    /// Adds a member, whose name must be new, to an object.
    void Append(std::string name, CJson value);

    /// The order of members counts.
    bool operator==(const CJson& other) const;

private:
    friend class CJsonBuilder;

    struct StInteger {
        std::uint64_t bits;
        bool isSigned; // the number fits into std::int64_t
    };
    explicit CJson(StInteger value);

    template <class T>
    [[nodiscard]] bool Is() const {
        return std::holds_alternative<T>(m_value);
    }

    std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, std::string, std::vector<CJson>,
                 std::vector<Member>>
        m_value;
};

/// Whether the text is valid UTF-8, which a JSON text can hold.
bool IsUtf8(const std::string& text);

} // namespace engine
