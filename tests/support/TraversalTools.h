#pragma once

#include "utils/PointOperationsImpl.h"

#include <QuillonBase/CProgressProxy.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2image/IImage.h>

#include <cstring>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

/// What the tests of traversals look with: images and progress sinks that write down what is done to them.
namespace test {

using Log = std::vector<std::string>;

/// Holds back what is written to the standard output while it lives.
class CapturedOutput {
public:
    CapturedOutput()
        : m_before(std::cout.rdbuf(m_text.rdbuf())) {}
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;
    ~CapturedOutput() { std::cout.rdbuf(m_before); }

    [[nodiscard]] std::string Text() const { return m_text.str(); }

private:
    std::ostringstream m_text;
    std::streambuf* m_before;
};

/// Counts steps and questions, and can be cancelled at a given question.
class RecordingProgress : public ORVEN::IProgress {
public:
    void Start(unsigned total, const char* text) override {
        totals.push_back(total);
        texts.emplace_back(text);
        Note("start");
    }
    void SetText(const char* /*text*/) override { throw std::logic_error("not part of a traversal"); }
    void Step(unsigned amount, int flag) override {
        ++steps;
        areAllStepsOne = areAllStepsOne && amount == 1 && flag == 0;
    }
    void SetPosition(unsigned /*position*/) override { throw std::logic_error("not part of a traversal"); }
    void Finish() override {
        ++finished;
        Note("finish");
    }
    void Cancel() override { throw std::logic_error("not part of a traversal"); }
    bool IsCancelled() override {
        const bool isNow = questions++ == cancelAt;
        wasCancelled = wasCancelled || isNow;
        Note("cancelled?");
        return isNow || (staysCancelled && wasCancelled);
    }

    int cancelAt = -1; ///< the question, from 0, that is answered with true, and all behind it
    bool staysCancelled = true;

    Log* log = nullptr;
    std::vector<unsigned> totals;
    std::vector<std::string> texts;
    std::int64_t steps = 0;
    bool areAllStepsOne = true;
    int finished = 0;
    int questions = 0;
    bool wasCancelled = false;

private:
    void Note(const char* event) const {
        if (log != nullptr)
            log->emplace_back(event);
    }
};

/// Stands in as the host's progress sink while it lives.
class HostProgress : public RecordingProgress {
public:
    HostProgress()
        : m_before(ORVEN::CProgressProxy::SetHostSink(this)) {}
    HostProgress(const HostProgress&) = delete;
    HostProgress& operator=(const HostProgress&) = delete;
    ~HostProgress() override { ORVEN::CProgressProxy::SetHostSink(m_before); }

private:
    ORVEN::IProgress* m_before;
};

/// An image of any dimension and any strides whose accesses tell what is done with them.
class FakeImage : public ORVEN::IImage {
public:
    FakeImage(const CType& type, const ORVEN::CSize& size)
        : m_type(type)
        , m_size(size) {}

    /// Pixels `strides` bytes apart in `memory`, from the byte `offset` on.
    FakeImage(const CType& type, const ORVEN::CSize& size, const ORVEN::CPos& strides, std::int64_t byteCount,
              std::int64_t offset)
        : memory(static_cast<std::size_t>(byteCount), 0xAB)
        , m_type(type)
        , m_size(size)
        , m_strides(strides)
        , m_offset(offset) {}

    template <class T>
    [[nodiscard]] T Pixel(std::int64_t x, std::int64_t y, std::int64_t z) const {
        T value{};
        std::memcpy(&value, memory.data() + Offset(x, y, z), sizeof value);
        return value;
    }
    template <class T>
    void SetPixel(std::int64_t x, std::int64_t y, std::int64_t z, T value) {
        std::memcpy(memory.data() + Offset(x, y, z), &value, sizeof value);
    }

    const IAccess* CreateAccess(bool isReserved) const override {
        return const_cast<FakeImage*>(this)->Create(isReserved, "const access");
    }
    IAccess* CreateAccess(bool isReserved) override { return Create(isReserved, "access"); }
    const ORVEN::CValueMap& Attributes() const override { return m_attributes; }
    ORVEN::CValueMap& Attributes() override { return m_attributes; }
    [[nodiscard]] const CType& Type() const override { return m_type; }
    [[nodiscard]] const ORVEN::CSize& Size() const override { return m_size; }

    std::vector<unsigned char> memory;
    std::string name = "image";
    Log* log = nullptr;
    bool refusesAccess = false;
    int openAccesses = 0;

private:
    class Access : public IAccess {
    public:
        explicit Access(FakeImage& image)
            : m_image(image) {
            ++m_image.openAccesses;
        }
        ~Access() override {
            m_image.Note("destroyed");
            --m_image.openAccesses;
        }
        void Lock(const ORVEN::CPos& first, const ORVEN::CPos& last, int mode) const override {
            m_image.Note("lock " + first.ToString() + " to " + last.ToString() + " mode " +
                         std::to_string(mode));
            m_first = first;
            m_mode = mode;
        }
        void Unlock() const override {
            m_image.Note("unlock");
            m_mode = 0;
        }
        [[nodiscard]] bool IsLocked() const override { return m_mode != 0; }
        [[nodiscard]] const ORVEN::CPos& First() const override { return m_first; }
        [[nodiscard]] const ORVEN::CPos& Last() const override { return m_first; }
        [[nodiscard]] const ORVEN::CSize& Size() const override { return m_image.Size(); }
        [[nodiscard]] const CType& Type() const override { return m_image.Type(); }
        [[nodiscard]] ORVEN::CPos Strides() const override { return m_image.m_strides; }
        [[nodiscard]] const void* ConstData() const override {
            return m_image.memory.data() + m_image.Offset(m_first.x, m_first.y, m_first.z);
        }
        [[nodiscard]] void* Data() override {
            if (m_mode != LOCK_READ_WRITE)
                throw std::logic_error("written without a lock");
            return m_image.memory.data() + m_image.Offset(m_first.x, m_first.y, m_first.z);
        }

    private:
        FakeImage& m_image;
        mutable ORVEN::CPos m_first;
        mutable int m_mode = 0;
    };

    IAccess* Create(bool isReserved, const std::string& kind) {
        if (refusesAccess)
            throw std::runtime_error("no access");
        Note(kind + (isReserved ? " true" : " false"));
        return new Access(*this);
    }

    void Note(const std::string& event) const {
        if (log != nullptr)
            log->push_back(name + ": " + event);
    }

    [[nodiscard]] std::int64_t Offset(std::int64_t x, std::int64_t y, std::int64_t z) const {
        return m_offset + x * m_strides.x + y * m_strides.y + z * m_strides.z;
    }

    CType m_type;
    ORVEN::CSize m_size;
    ORVEN::CPos m_strides;
    std::int64_t m_offset = 0;
    ORVEN::CValueMap m_attributes;
};

inline ORVEN::CSize SizeOf(int dimension, std::int64_t x, std::int64_t y, std::int64_t z) {
    ORVEN::CSize size(x, y, z);
    size.SetDim(dimension);
    return size;
}

inline ORVEN::IImage& AsHostClass(FakeImage& image) { return image; }
inline const ORVEN::IImage& AsHostClass(const FakeImage& image) { return image; }
template <class Image>
Image& AsHostClass(Image& image) {
    return image;
}

/// Runs a visitor over images, under a progress sink.
template <int N = 0, class Visitor, class... Images>
bool TraverseWith(ORVEN::IProgress& progress, Visitor& visitor, Images&... images) {
    return ORVEN::Impl::VisitorHelper<N>::VisitImageData(AsHostClass(images)..., visitor, progress);
}

/// The same, with the debugging lines held back.
template <int N = 0, class Visitor, class... Images>
bool Traverse(Visitor& visitor, Images&... images) {
    const CapturedOutput silence;
    RecordingProgress progress;
    return TraverseWith<N>(progress, visitor, images...);
}

} // namespace test
