#pragma once
// The protocol panel of the Watch tab (frame frAttachmProto): a filter with its value chooser,
// the list of saved attachments, the details of the selected entry, and the buttons that open
// an attachment or its folder and wipe the protocol.
#include <QGroupBox>

class QComboBox;
class QLabel;
class QToolButton;
class QTreeView;
class ProtoModel;
class frmStowaway;

class ProtoPanel : public QGroupBox {
    Q_OBJECT
  public:
    ProtoPanel(frmStowaway& form, QWidget* parent);

    void fillCombos(); // clFilter's ten entries, clSelect's all-entry
    void InitProtoList();
    // Shows entry `index` (1-based): with the filter off when the filter hides it.
    void selectProtoEntry(int index);
    // The zoom: the panel over frFolders with the details shown, or back.
    bool zoomed() const;
    void setZoomed(bool zoomed);

    ProtoModel* model() const { return m_model; }

    QComboBox* clFilter;
    QComboBox* clSelect;
    QTreeView* lvProto;
    QToolButton* imgZoomProto;

  signals:
    void zoomChanged(bool zoomed);

  private:
    void clFilter_Click();
    void clSelect_Click();
    void lvProto_Click();
    void btnProtoView_Click();
    void btnProtoOpenFolder_Click();
    void btnProtoDel_Click();
    // The selected entry's number; 0 without one.
    int selectedEntry() const;
    // Beeps and warns when entry `n` saved no file (a test run or an error).
    bool savedNothing(int n);
    QString ruleToolTip(const QString& rule);

    frmStowaway& m_form;
    ProtoModel* m_model;
    QWidget* m_details;
    QLabel* m_lblProto[10];
    bool m_quiet = false; // the list's own selection, which is no click
};
