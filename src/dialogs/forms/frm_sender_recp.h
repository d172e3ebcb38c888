#pragma once
// frmSenderRecp: the sender or recipient a rule tests, as a name or an e-mail address, typed or
// taken from the address book.
#include <QDialog>

class QFrame;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;

class frmSenderRecp : public QDialog {
    Q_OBJECT
  public:
    explicit frmSenderRecp(QWidget* parent = nullptr);

    void InitForSender();
    void InitForRecipient();
    // The present term; one holding "@" is offered as an address.
    void setTerm(const QString& text);

    // The term on OK; empty after Cancel.
    QString Term;
    bool checksAddress() const;

    QLabel* imgSender;
    QLabel* imgRecp;
    QLabel* imgIcon;
    QLabel* lblPrompt;
    QGroupBox* frOptions;
    QRadioButton* obNameEMail[2];
    QLineEdit* txtInput;
    QPushButton* btnChooseSender;
    QPushButton* btnOK;
    QPushButton* btnCancel;

  protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void obNameEMail_Click();
    void btnOK_Click();
    void btnCancel_Click();
    void btnChooseSender_Click();
    void chooseFromCardFile();
    void chooseFromAddressBook();
    void takeChoice(const QString& name, const QString& address);
};
