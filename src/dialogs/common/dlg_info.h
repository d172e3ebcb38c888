#pragma once
// The info dialog: the product's caption, the package version and commit it was built from,
// and where it keeps its files.
#include <QDialog>

class dlgInfo : public QDialog {
    Q_OBJECT
  public:
    explicit dlgInfo(QWidget* parent = nullptr);
};

// Shows dlgInfo modally.
void QWKAddInShowInfo(QWidget* parent = nullptr);
