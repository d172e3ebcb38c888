#pragma once
// Tab 4 "Optionen" / "Options": mark of mails, notification, LOG, language.
#include <QWidget>

class QCheckBox;
class QComboBox;
class QLabel;
class QRadioButton;
class frmStowaway;

class OptionsPage : public QWidget {
    Q_OBJECT
  public:
    explicit OptionsPage(frmStowaway& form);

    // Steps of the load procedure that belong to this tab.
    void fillLists();    // clSystrayTime, clWave
    void readSettings(); // notification and sound settings into the controls
    void readMarkMail(); // MarkMail into cbMarkMail, obMarkMail
    void showLogFile();  // lblLOGPath, and DoProto into cbDoProto
    void readLanguage(); // CurrLang into obLanguage
    void prepare();      // tab change: the blocked formats, once per form

    // Handlers whose enabling effects the load runs once.
    void cbMarkMail_Click();

    QCheckBox* cbMarkMail;
    QLabel* lblMarkMail;
    QRadioButton* obMarkMail[2];
    QRadioButton* obNoti[3];
    QLabel* lblSystrayTime;
    QComboBox* clSystrayTime;
    QCheckBox* cbSound;
    QLabel* lblSoundTXT;
    QComboBox* clWave;
    QCheckBox* cbDoProto;
    QLabel* lblLOGPath;
    QRadioButton* obLanguage[2];

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void obNoti_Click(int index);
    void cbSound_Click();
    void clWave_Click();
    void clSystrayTime_Click();
    void writeMarkMail();
    QWidget* buildMarkMail();
    QWidget* buildInform();
    QWidget* buildProto();
    QWidget* buildLanguage();

    frmStowaway& m_form;
};
