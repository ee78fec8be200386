#include "QuillonMeasurement/StLabelingData.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueVector.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>

namespace ORVEN {

namespace {

struct StField {
    const char* key;
    std::vector<std::int64_t> StLabelingData::*numbers;
};

constexpr std::array<StField, 7> c_fields{{{"volume", &StLabelingData::volume},
                                           {"extent x", &StLabelingData::extentX},
                                           {"extent y", &StLabelingData::extentY},
                                           {"extent z", &StLabelingData::extentZ},
                                           {"start x", &StLabelingData::startX},
                                           {"start y", &StLabelingData::startY},
                                           {"start z", &StLabelingData::startZ}}};

std::optional<std::int64_t> WholeNumber(const CValue* value) {
    constexpr double exactlyTold = 9007199254740992.0; // 2^53
    if (value == nullptr ||
        (value->GenericType() != CValue::VAL_LONG && value->GenericType() != CValue::VAL_DOUBLE))
        return std::nullopt;
    const double number = value->Double();
    if (!(std::abs(number) <= exactlyTold) || number != std::floor(number))
        return std::nullopt;
    return static_cast<std::int64_t>(number);
}

CValue* ValueOf(std::int64_t number) {
    if (number == static_cast<std::int32_t>(number))
        return new CValueLong(static_cast<std::int32_t>(number));
    return new CValueDouble(static_cast<double>(number));
}

std::vector<std::int64_t> Numbers(const CValueMap& map, const char* key) {
    const auto refuse = [key](const char* message) {
        throw CException("StLabelingData", CString(message, CString::ENC_UTF8).Arg(key), nullptr);
    };
    const CValue* entry = map.Entry(key, true);
    if (entry == nullptr || entry->Vector() == nullptr)
        refuse("Label data lack the numbers \"%1\".");
    std::vector<std::int64_t> numbers;
    numbers.reserve(entry->Vector()->Size());
    for (const CValue* value : *entry->Vector()) {
        const std::optional<std::int64_t> number = WholeNumber(value);
        if (!number)
            refuse("Label data contain values other than whole numbers under \"%1\".");
        numbers.push_back(*number);
    }
    return numbers;
}

} // namespace

std::size_t StLabelingData::LabelCount() const {
    std::size_t count = volume.size();
    for (const StField& field : c_fields)
        count = std::min(count, (this->*field.numbers).size());
    return count;
}

void StLabelingData::Set(const CValueMap& map) {
    StLabelingData loaded;
    for (const StField& field : c_fields)
        loaded.*field.numbers = Numbers(map, field.key);
    *this = std::move(loaded);
}

StLabelingData::operator CValueMap() const {
    CValueMap map;
    for (const StField& field : c_fields) {
        auto row = std::make_unique<CValueVector>();
        for (const std::int64_t number : this->*field.numbers)
            row->PushBack(ValueOf(number));
        map.SetEntry(field.key, row.release());
    }
    return map;
}

} // namespace ORVEN
