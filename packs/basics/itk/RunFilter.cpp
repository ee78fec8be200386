#include "itk/ItkImages.h"

#include <QuillonBase/Parallel.h>
#include <sorblib2core/CException.h>

#include <itkCommand.h>
#include <itkPlatformMultiThreader.h>

#include <new>

namespace quillon::basics {

using namespace ORVEN;

namespace {

constexpr unsigned c_steps = 100;

/// Forwards the progress of a filter. ITK sends the event on the thread that called the filter only.
class CProgressObserver : public itk::Command {
public:
    using Self = CProgressObserver;
    using Pointer = itk::SmartPointer<Self>;
    itkNewMacro(Self);

    void Execute(itk::Object* caller, const itk::EventObject&) override {
        auto* filter = dynamic_cast<itk::ProcessObject*>(caller);
        if (filter == nullptr || progress == nullptr)
            return;
        const auto position = static_cast<unsigned>(filter->GetProgress() * static_cast<float>(c_steps));
        if (position > m_position) {
            progress->Step(position - m_position, 0);
            m_position = position;
        }
        if (progress->IsCancelled())
            filter->AbortGenerateDataOn();
    }
    void Execute(const itk::Object*, const itk::EventObject&) override {}

    IProgress* progress = nullptr;

private:
    unsigned m_position = 0;
};

} // namespace

bool RunFilter(itk::ProcessObject& filter, IProgress& progress, const char* phase) {
    if (progress.IsCancelled())
        return false;
    progress.Start(c_steps, phase);
    const auto observer = CProgressObserver::New();
    observer->progress = &progress;
    filter.AddObserver(itk::ProgressEvent(), observer);
    const auto threads = static_cast<itk::ThreadIdType>(ThreadCount());
    const auto threader = itk::PlatformMultiThreader::New();
    threader->SetMaximumNumberOfThreads(threads);
    filter.SetMultiThreader(threader);
    filter.SetNumberOfWorkUnits(threads);
    try {
        filter.Update();
    } catch (const itk::ProcessAborted&) {
        progress.Finish();
        return false;
    } catch (const itk::MemoryAllocationError&) {
        throw std::bad_alloc();
    } catch (const itk::ExceptionObject& error) {
        throw CException(filter.GetNameOfClass(), error.GetDescription(), nullptr);
    }
    progress.Finish();
    return !progress.IsCancelled();
}

} // namespace quillon::basics
