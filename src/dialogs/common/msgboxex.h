#pragma once
// The free-caption message box and the input box of the same kind.
#include "ui/user_interaction.h"

#include <QDialog>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;

class frmMsgBoxEx : public QDialog {
    Q_OBJECT
  public:
    explicit frmMsgBoxEx(QWidget* parent = nullptr);
    // Lays the form out for the request; the result is set when it closes.
    void prepare(const MsgBoxExRequest& request);
    int result16() const { return m_result; }
    int DefaultBtn = -1;
    int CancelBtn = -1;

  protected:
    void keyPressEvent(QKeyEvent* event) override;

  public slots:
    void reject() override; // the close box

  private:
    void exitWith(int number);
    void showHelp();

    QLabel* m_imgIcon;
    QLabel* m_lblPrompt;
    QLabel* m_lblHelp;
    QPushButton* m_btn[3];
    QPushButton* m_btnHelp;
    QCheckBox* m_cbDontShow;
    int m_result = 99;
};

class frmInpBoxEx : public QDialog {
    Q_OBJECT
  public:
    explicit frmInpBoxEx(QWidget* parent = nullptr);
    void prepare(const InpBoxExRequest& request);
    const QString& text() const { return m_result; }

  protected:
    void showEvent(QShowEvent* event) override;

  private:
    QLabel* m_lblPrompt;
    QLabel* m_lblHelp;
    QLineEdit* m_txtInput;
    QPushButton* m_btnHelp;
    QString m_result;
};

// Shows the box modally, on top of every window. 1..3 the button, 99 closed, +256 with the
// "don't show again" box ticked.
int MsgBoxEx(const MsgBoxExRequest& request);
// The entered text, or empty for Cancel and a closed window.
QString InpBoxEx(const InpBoxExRequest& request);
