#pragma once

#include "engine/files/CJson.h"

#include <algorithm>
#include <concepts>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace engine {

/// Reads the members of a JSON object in a catalogue and raises an error for those that were never read.
/// Every error is a `std::runtime_error`, "catalogue: PLACE: WHY".
class CMemberReader {
public:
    /// The object must outlive the reader.
    CMemberReader(const CJson& object, std::string place)
        : m_object(object)
        , m_place(std::move(place)) {
        if (!object.IsObject())
            Fail("is not an object");
    }

    void SetPlace(const std::string& place) { m_place = place; }

    [[noreturn]] void Fail(const std::string& why) const {
        throw std::runtime_error("catalogue: " + m_place + ": " + why);
    }

    const CJson* Find(const char* name) {
        m_asked.insert(name);
        return m_object.Find(name);
    }

    template <class T>
    T Get(const char* name) {
        const CJson* member = Find(name);
        if (member == nullptr)
            Fail(std::string("lacks '") + name + "'");
        return Convert<T>(*member, name);
    }

    template <class T>
    T Get(const char* name, T fallback) {
        const CJson* member = Find(name);
        return member != nullptr ? Convert<T>(*member, name) : fallback;
    }

    void RefuseOthers() const {
        std::set<std::string> others; // in a fixed order, so that the message names the same one each time
        for (const auto& [name, member] : m_object.Members()) {
            if (!m_asked.contains(name))
                others.insert(name);
        }
        if (!others.empty())
            Fail("has the unknown member '" + *others.begin() + "'");
    }

private:
    template <class T>
    T Convert(const CJson& member, const char* name) const {
        T value{};
        if (!Store(member, value))
            Fail(std::string("'") + name + "' is of the wrong kind");
        return value;
    }

    // Each stores the value if it is of this kind, without conversion.

    static bool Store(const CJson& member, CJson& value) {
        value = member;
        return true;
    }

    static bool Store(const CJson& member, bool& value) {
        return member.IsBool() && (value = member.Bool(), true);
    }

    static bool Store(const CJson& member, std::string& value) {
        return member.IsString() && (value = member.String(), true);
    }

    static bool Store(const CJson& member, double& value) {
        return member.IsNumber() && (value = member.Number(), true);
    }

    template <std::integral Integer>
    static bool Store(const CJson& member, Integer& value) {
        const auto number = member.IsInteger() ? member.IntegerAs<Integer>() : std::nullopt;
        value = number.value_or(0);
        return number.has_value();
    }

    template <class T>
    static bool Store(const CJson& member, std::vector<T>& values) {
        return member.IsArray() &&
               std::all_of(member.Elements().begin(), member.Elements().end(),
                           [&values](const CJson& element) { return Store(element, values.emplace_back()); });
    }

    const CJson& m_object;
    std::string m_place;
    std::set<std::string> m_asked;
};

} // namespace engine
