#pragma once
// lvMails: the mails with attachments of the Extras tab, one ticked row each, four columns.
#include "addin/extras_run.h"

#include "dialogs/models/captioned_table_model.h"
#include <QStringList>

class MailsListModel : public CaptionedTableModel {
    Q_OBJECT
  public:
    explicit MailsListModel(QObject* parent = nullptr);

    void setRows(std::vector<ExtrasRow> rows);
    void clear() { setRows({}); }
    const std::vector<ExtrasRow>& rows() const { return m_rows; }
    int tickedCount() const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

  private:
    std::vector<ExtrasRow> m_rows;
};
