#pragma once

#include "sorblib2core/CValueContainerBase.h"

#include <vector>

namespace ORVEN {

/// A sequence of values addressed by index from 0. Places can be empty (null). The vector owns its elements,
/// including those added through its `std::vector` base.
class CValueVector : public CValueContainerBase, public std::vector<CValue*> {
public:
    CValueVector();
    /// Creates `count` empty places.
    explicit CValueVector(std::size_t count);
    /// Creates the vector with two elements and takes ownership of them.
    CValueVector(CValue* first, CValue* second);
    CValueVector(const CValueVector&) = delete;
    CValueVector& operator=(const CValueVector&) = delete;
    ~CValueVector() override;

    const CValueVector* Vector() const override { return this; }
    CValueVector* Vector() override { return this; }
    CValue* Clone(EnTfOwnership strategy) const override;
    CValue& Copy(const CValue& source, EnTfOwnership strategy, bool mergesMeta) override;
    bool Equal(const CValue& other) const override;
    bool EqualData(const CValue& other) const override;
    EnValType GenericType() const override;
    unsigned Size() const override;
    CValue_Key Find(const char* text, const CValue_Key& after) const override;
    CValue_Key Find(const CValue& value, const CValue_Key& after) const override;

    /// Appends the value and takes ownership in any case, even if it raises.
    virtual void PushBack(CValue* value);

private:
    friend class CValueContainerBase;

    [[nodiscard]] CValue* DirectEntry(std::string_view step) const;
    void SetDirectEntry(std::string_view step, std::unique_ptr<CValue> value);
    std::unique_ptr<CValue> DetachDirectEntry(std::string_view step);

    template <class Matches>
    CValue_Key FindIf(const CValue_Key& after, const Matches& matches) const;
};

} // namespace ORVEN
