#pragma once
// A table model whose column captions the bilingual walk rewrites (setHeaderData), and whose
// first column carries the rows' tick boxes.
#include <QAbstractTableModel>
#include <QStringList>

class CaptionedTableModel : public QAbstractTableModel {
    Q_OBJECT
  public:
    CaptionedTableModel(QStringList captions, QObject* parent);

    int columnCount(const QModelIndex& parent = {}) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    bool setHeaderData(int section, Qt::Orientation orientation, const QVariant& value,
                       int role) override;

  private:
    QStringList m_captions;
};
