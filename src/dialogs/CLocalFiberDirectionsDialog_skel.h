#pragma once

#include <QDialog>

class QCheckBox;
class QComboBox;
class QFrame;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace ORVEN {
class CButtonGroupBox;
}

/// The form of `quillon::CLocalFiberDirectionsDialog`: widgets, layouts, texts and connections, without any
/// behaviour. Each widget member has the object name of its widget, by which tests and scripts find it. The
/// slots keep the names and the order in which the meta object lists them.
class CLocalFiberDirectionsDialog_skel : public QDialog {
    Q_OBJECT

public:
    /// Without a name, the dialog gets the name of its class.
    explicit CLocalFiberDirectionsDialog_skel(QWidget* parent = nullptr, const char* name = nullptr,
                                              bool modal = false, Qt::WindowFlags flags = {});

    QGroupBox* select_radius_group;
    QLineEdit* radius_edit;
    QLabel* textLabel2_4;
    QLineEdit* radius_pixel_edit;
    QLabel* textLabel4_4;
    QLabel* textLabel1;
    QLineEdit* eval_area_from_edit;
    QLabel* textLabel4_5;
    QLabel* textLabel2_5;
    QLineEdit* eval_area_to_edit;
    QLabel* textLabel4_5_2;

    QGroupBox* select_size_group;
    QLabel* textLabel3;
    QLineEdit* sizex_edit;
    QLabel* textLabel2;
    QLineEdit* sizex_pixel_edit;
    QLabel* textLabel4;
    QLabel* textLabel3_2;
    QLineEdit* sizey_edit;
    QLabel* textLabel2_2;
    QLineEdit* sizey_pixel_edit;
    QLabel* textLabel4_3;
    QLabel* textLabel3_3;
    QLineEdit* sizez_edit;
    QLabel* textLabel2_3;
    QLineEdit* sizez_pixel_edit;
    QLabel* textLabel4_2;
    QFrame* line1;
    QLabel* textLabel3_3_2;
    QLineEdit* stepsize_edit;
    QLabel* textLabel2_3_2;

    QGroupBox* advanced_box;
    QCheckBox* output_box;
    ORVEN::CButtonGroupBox* binarizationGroup;
    QRadioButton* radioOtsu;
    QLineEdit* offset_edit;
    QRadioButton* radioMask;
    QComboBox* comboMasks;

    QPushButton* OK_button;
    QPushButton* Cancel_button;

public Q_SLOTS:
    // The implementations in the form only warn that they are not implemented.
    virtual void sizex_edit_changed(const QString& text);
    /// Not connected to any signal.
    virtual void activateSubfieldsSlot();
    virtual void radius_edit_changed(const QString& text);
    virtual void radio_otsu_toggled();

protected Q_SLOTS:
    /// Sets all texts in the application's language.
    virtual void languageChange();

protected:
    void changeEvent(QEvent* event) override;

private:
    QGroupBox* MakeRadiusGroup();
    QGroupBox* MakeSizeGroup();
    QGroupBox* MakeAdvancedGroup();
    QLayout* MakeButtonRow();
    void Connect();
    void SetTabOrder();
};
