// A pack to test the host with: one plug-in for each thing that a plug-in can do to its host. What they do is
// told by parameters, so that few of them suffice.

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <QCheckBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <new>

using namespace ORVEN;

namespace {

/// Reads the tree and accepts everything, unless "refuse" is set.
class CTestPlugin : public CPluginBase {
public:
    void Configure(void* /*context*/, CValueMap& settings) override {
        if (settings.HasEntry("path"))
            m_setting = settings.EntryString("path").Std();
    }

    bool TestParameters(const CValueMap& tree) override { return !tree.HasEntry("parameters/refuse"); }

    void UpdateParameters(const CValueMap& tree) override {
        m_document = UnwrapPointer<CValueMap>(tree.Entry("input/documents/focused", true));
        if (const CValue* parameters = tree.Entry("parameters", true))
            m_parameters = std::make_unique<CValueMap>(*parameters->Map());
    }

protected:
    [[nodiscard]] CImage& Image() const { return *UnwrapPointer<CImage>(m_document->Entry("content", true)); }

    static void Deliver(CValueMap& tree, int index, const CImage& pixels, const char* label) {
        auto image = std::make_unique<CImage>(pixels);
        CQuillonHeaderTools::SetAttributes(*image, pixels.Attributes());
        CQuillonHeaderTools::AddToHistory(*image, "Echo()", 0);
        auto* document = new CValueMap;
        document->SetEntry("content", new CValueOwnedPointer<CImage>(image.release(), 1));
        document->SetEntry("label", new CValueString(label, CString::NPOS));
        tree.SetEntry("output/documents/add/" + std::to_string(index),
                      new CValuePointer<CValueMap>(document, 1));
    }

    CValueMap* m_document = nullptr;
    std::unique_ptr<CValueMap> m_parameters = std::make_unique<CValueMap>();
    std::string m_setting;
};

/// Tells what it was given on standard output, and delivers its input twice.
class CEcho : public CTestPlugin {
public:
    void GetData(CValueMap& tree) override {
        const CString none("(none)", CString::ENC_UTF8);
        std::cout << "label=" << m_document->EntryString("label", none) << "\n";
        std::cout << "setting=" << m_setting << "\n";
        Tell("", *m_parameters);
        std::fprintf(stderr, "a word on standard error\n");
        Deliver(tree, 0, Image(), "first");
        Deliver(tree, 1, Image(), "second");
    }

private:
    static void Tell(const std::string& prefix, const CValueMap& map) {
        for (auto entry = map.begin(); entry != map.end(); ++entry) {
            const std::string key = prefix + entry.Key().ToString();
            if (const CValueMap* inner = entry.Value()->Map())
                Tell(key + "/", *inner);
            else
                std::cout << key << " " << Words(*entry.Value()) << "\n";
        }
    }

    static std::string Words(const CValue& value) {
        switch (value.GenericType()) {
        case CValue::VAL_BOOL:
            return value.Bool() ? "bool true" : "bool false";
        case CValue::VAL_LONG:
            return "long " + std::to_string(value.Long());
        case CValue::VAL_DOUBLE:
            return "double " + std::to_string(value.Double());
        case CValue::VAL_STRING:
            return "string " + value.String().Std();
        case CValue::VAL_POINTER: {
            const CImage* image = UnwrapPointer<CImage>(&value);
            return image != nullptr ? "image " + image->Size().ToString() : "image null";
        }
        default:
            return "other";
        }
    }
};

/// Raises what "what" says.
class CRaise : public CTestPlugin {
public:
    void GetData(CValueMap& tree) override {
        Deliver(tree, 0, Image(), "delivered too early");
        const std::string what = m_parameters->EntryString("what").Std();
        if (what == "memory")
            throw std::bad_alloc();
        if (what == "standard")
            throw std::runtime_error("a standard failure");
        if (what == "number")
            throw 42;
        std::cerr << "Raise caught an ORVEN::CException: this image is cursed\n";
        throw CException("RaisePlugin", "this image\nis cursed", nullptr);
    }
};

/// Leaves a measurement in its input, and asks for a view.
class CMeasure : public CTestPlugin {
public:
    void GetData(CValueMap& tree) override {
        CQuillonHeaderTools::SetFeatures(Image(), "Answer", CValueDouble(42.5));
        auto* view = new CValueMap;
        view->SetEntry("type", new CValueString("ImageAttributesView", CString::NPOS));
        view->SetEntry("document", new CValuePointer<CValueMap>(m_document, 1));
        tree.SetEntry("output/views/create/0", view);
    }
};

/// Runs until it is cancelled, or for ever with "stubborn". A byte goes into the file "notices" (a FIFO) once
/// it runs, and another once it has seen that it is cancelled.
class CSlow : public CTestPlugin {
public:
    void GetData(CValueMap& tree) override {
        const CAlgorithm algorithm(nullptr, nullptr);
        IProgress& progress = algorithm.Progress();
        std::ofstream notices(m_parameters->EntryString("notices").Std());
        progress.Start(1000, "waiting to be cancelled");
        notices << "r" << std::flush;
        while (!progress.IsCancelled())
            progress.Step(1, 0);
        notices << "c" << std::flush;
        while (m_parameters->HasEntry("stubborn"))
            progress.Step(1, 0);
        progress.Finish();
        Deliver(tree, 0, Image(), "unfinished");
    }
};

/// Asks in a dialog and says what it was told in a box; asks for a file with "file".
class CDialog : public CTestPlugin {
public:
    void GetData(CValueMap& tree) override {
        if (m_parameters->HasEntry("file")) {
            const QString file = QFileDialog::getSaveFileName(nullptr, "Where to");
            std::ofstream(file.toStdString()) << "exported";
            return;
        }
        QDialog dialog;
        dialog.setWindowTitle("Questions");
        auto* layout = new QVBoxLayout(&dialog);
        auto* name = new QLineEdit("nobody", &dialog);
        name->setObjectName("name_edit");
        auto* certain = new QCheckBox("certain", &dialog);
        certain->setObjectName("choice:certain");
        auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
        for (QWidget* widget :
             {static_cast<QWidget*>(name), static_cast<QWidget*>(certain), static_cast<QWidget*>(buttons)})
            layout->addWidget(widget);
        QPushButton* ok = buttons->button(QDialogButtonBox::Ok);
        QObject::connect(name, &QLineEdit::textChanged, ok,
                         [ok](const QString& text) { ok->setEnabled(!text.isEmpty()); });
        QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
        QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
        if (dialog.exec() != QDialog::Accepted)
            return;
        auto* answers = new CValueMap;
        answers->SetEntry("name", new CValueString(CString(name->text().toStdString())));
        tree.SetEntry("parameters", answers);
        QMessageBox::information(nullptr, "Answer",
                                 name->text() + (certain->isChecked() ? " for sure" : " perhaps"));
        Deliver(tree, 0, Image(), "answered");
    }
};

/// Saves a table under the name chosen in a file dialog. With "notices" (a FIFO) a byte goes there
/// when the table is begun, and the rest waits for a cancellation, with "stubborn" for ever. "box" shows a
/// box of that kind in the end, with "empty" instead of the table; "raise" raises.
class CExport : public CTestPlugin {
public:
    void GetData(CValueMap&) override {
        const QString path = QFileDialog::getSaveFileName(nullptr, "Where to");
        if (path.isEmpty())
            return;
        std::ofstream table(path.toStdString());
        if (!m_parameters->HasEntry("empty"))
            table << "half" << std::flush;
        if (m_parameters->HasEntry("notices"))
            Wait();
        if (m_parameters->HasEntry("raise"))
            throw CException("ExportPlugin", "no more", nullptr);
        const std::string box = m_parameters->EntryString("box").Std();
        if (box == "critical")
            QMessageBox::critical(nullptr, "Save Error", "It could not be saved.");
        if (box == "warning")
            QMessageBox::warning(nullptr, "Save Error", "There is nothing to save.");
        if (box == "information")
            QMessageBox::information(nullptr, "Saved", "All is well.");
        if (!m_parameters->HasEntry("empty"))
            table << " and half";
    }

private:
    void Wait() const {
        const CAlgorithm algorithm(nullptr, nullptr);
        std::ofstream notices(m_parameters->EntryString("notices").Std());
        notices << "r" << std::flush;
        while (!algorithm.Progress().IsCancelled() || m_parameters->HasEntry("stubborn"))
            algorithm.Progress().Step(0, 0);
    }
};

/// Its constructor raises.
class CUnborn : public CTestPlugin {
public:
    CUnborn() { throw CException("UnbornPlugin", "it cannot be made", nullptr); }

    void GetData(CValueMap& /*tree*/) override {}
};

} // namespace

extern "C" [[gnu::visibility("default")]] void* CreatePluginInstanceEx(const char* name) {
    const std::string wanted(name);
    // One name that the catalogue knows, so that catalogue and pack can be tested together.
    if (wanted == "Echo" || wanted == "SegmNiblack")
        return new CEcho;
    if (wanted == "Raise")
        return new CRaise;
    if (wanted == "Measure")
        return new CMeasure;
    // Under any other name that is asked for, as what the catalogue says of it matters to Ctrl-C.
    const char* const slow = std::getenv("TEST_PACK_SLOW");
    if (wanted == "Slow" || (slow != nullptr && wanted == slow))
        return new CSlow;
    if (wanted == "Dialog")
        return new CDialog;
    if (wanted == "Export")
        return new CExport;
    if (wanted == "Unborn")
        return new CUnborn;
    return nullptr;
}
