#include "python/bindings/CQuietStreams.h"

#include <iostream>
#include <streambuf>
#include <utility>

namespace quillon_python {

namespace {

thread_local std::string* g_text = nullptr; // where this thread's output goes; null: where it always went

/// Has no buffer of its own, so that several threads can write.
class CThreadFilter : public std::streambuf {
public:
    explicit CThreadFilter(std::streambuf* target)
        : m_target(target) {}

protected:
    std::streamsize xsputn(const char* text, std::streamsize count) override {
        if (g_text == nullptr)
            return m_target->sputn(text, count);
        g_text->append(text, static_cast<std::size_t>(count));
        return count;
    }

    int_type overflow(int_type character) override {
        if (traits_type::eq_int_type(character, traits_type::eof()))
            return traits_type::not_eof(character);
        const char written = traits_type::to_char_type(character);
        return xsputn(&written, 1) == 1 ? character : traits_type::eof();
    }

    int sync() override { return g_text == nullptr ? m_target->pubsync() : 0; }

private:
    std::streambuf* m_target;
};

/// The filter is never destroyed: streams are flushed after all else at the end of a process.
void Filter(std::ostream& stream) { stream.rdbuf(new CThreadFilter(stream.rdbuf())); }

} // namespace

void InstallQuietStreams() {
    Filter(std::cout);
    Filter(std::cerr);
}

CQuietStreams::CQuietStreams()
    : m_before(std::exchange(g_text, &m_text)) {}

CQuietStreams::~CQuietStreams() { g_text = m_before; }

} // namespace quillon_python
