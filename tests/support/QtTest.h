#pragma once

#include <QApplication>
#include <QDialog>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <utility>

namespace test {

/// The application of a test binary with windows; they stay off any screen.
class CQtEnvironment : public testing::Environment {
public:
    void SetUp() override {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        m_application = std::make_unique<QApplication>(m_argumentCount, m_arguments);
    }
    void TearDown() override { m_application.reset(); }

private:
    // Qt keeps references to these.
    int m_argumentCount = 1;
    char m_programName[5] = "test";
    char* m_arguments[2] = {m_programName, nullptr};
    std::unique_ptr<QApplication> m_application;
};

inline testing::Environment* const c_qtEnvironment = testing::AddGlobalTestEnvironment(new CQtEnvironment);

/// The base of tests with windows.
class QtTest : public testing::Test {
protected:
    /// Does `answer` to the next modal dialog as soon as it waits for somebody. It has to close it.
    void AnswerNextDialog(std::function<void(QDialog&)> answer) {
        QTimer::singleShot(0, &m_person, [answer = std::move(answer)] {
            auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            ASSERT_NE(dialog, nullptr);
            answer(*dialog);
            if (dialog->isVisible()) {
                ADD_FAILURE() << "the dialog was left open";
                dialog->reject();
            }
        });
    }

private:
    QObject m_person; // with it go answers to dialogs that never came
};

} // namespace test
