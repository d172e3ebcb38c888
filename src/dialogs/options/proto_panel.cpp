#include "dialogs/options/proto_panel.h"

#include "common/folders.h"
#include "common/paths.h"
#include "common/shell.h"
#include "data/data_files.h"
#include "data/globals.h"
#include "data/protocol.h"
#include "data/watch_edits.h"
#include "dialogs/icons.h"
#include "dialogs/models/proto_model.h"
#include "dialogs/named_widget.h"
#include "dialogs/options/frm_stowaway.h"
#include "dialogs/translate.h"
#include "engine/proto_record.h"
#include "ui/user_interaction.h"

#include <QComboBox>
#include <QFile>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QStyle>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

namespace {
// The detail labels in the order the click fills them, with their captions.
enum Detail { Date, Attachm, FileFormat, Folder, Sender, Recp, Project, State, Rule, Mail };
struct DetailInfo {
    const char* name;
    const char* caption;
    const char* tag;
};
const DetailInfo kDetails[10] = {
    {"lblProtoDate", "Label4", "Datum:||Date:|"},
    {"lblProtoAttachm", "Label8", "Anhang:||Attachment:|"},
    {"lblProtoFileFormat", "Label9", "Format:||Format:|"},
    {"lblProtoFolder", "Label10", "Ordner:||Folder:|"},
    {"lblProtoSender", "Label11", "Von:||Von:|"},
    {"lblProtoRecp", "Label12", "An:||An:|"},
    {"lblProtoProject", "Label13", "Projekt:||Project:|"},
    {"lblProtoState", "Label14", "Status:||State:|"},
    {"lblProtoRule", "Label15", "Regel:||Rule:|"},
    {"lblProtoMail", "Label17", "Nachricht:||Mail:|"},
};
const ProtoField kDetailFields[10] = {
    ProtoField::LongDate, ProtoField::Attachment, ProtoField::FileFormat, ProtoField::Folder,
    ProtoField::Sender,   ProtoField::Recipient,  ProtoField::Project,    ProtoField::State,
    ProtoField::Rule,     ProtoField::Mail};
// Column widths of the list, from its design in twips (15 to a pixel); the date column is
// widened to its text where the desktop's font needs more.
const int kWidths[4] = {1500 / 15, 3000 / 15, 3500 / 15, 1000 / 15};

QString AllEntry() {
    return LangText(QStringLiteral("<Alles>"), QStringLiteral("<All>"));
}
} // namespace

ProtoPanel::ProtoPanel(frmStowaway& form, QWidget* parent) : QGroupBox(parent), m_form(form) {
    setObjectName(QStringLiteral("frAttachmProto"));
    SetTag(this, QStringLiteral("Protokoll:||Protocol:|"));
    auto* label1 = Named<QLabel>(this, "Label1", QStringLiteral("Filtern nach:||Filter by:|"));
    clFilter = Named<QComboBox>(this, "clFilter");
    label1->setBuddy(clFilter);
    auto* label3 = Named<QLabel>(this, "Label3", QStringLiteral("Auswahl:||Select:|"));
    clSelect = Named<QComboBox>(this, "clSelect");
    clSelect->setMinimumContentsLength(18);
    clSelect->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    label3->setBuddy(clSelect);
    auto* refresh = PictureButton(this, "btnRefreshProto", ThemeIcon({"view-refresh"}),
                                  QStringLiteral("|Aktualisieren||Refresh"));
    auto* view = PictureButton(this, "btnProtoView", ThemeIcon({"document-open"}),
                               QStringLiteral("|Anhang öffnen||Open attachment"));
    auto* openFolder = PictureButton(
        this, "btnProtoOpenFolder", ThemeIcon({"folder-open", "folder"}),
        QStringLiteral("|Aktuellen Ordner mit Dateimanager öffnen||Open current folder in file "
                       "manager"));
    auto* del = PictureButton(this, "btnProtoDel", ThemeIcon({"edit-delete", "user-trash"}),
                              QStringLiteral("|Protokoll löschen...||Delete protocol..."));
    imgZoomProto = PictureButton(this, "imgZoomProto", ThemeIcon({"go-down"}),
                                 QStringLiteral("|Mehr/Weniger...||More/Less..."));
    imgZoomProto->setProperty("Picture", QStringLiteral("ArrowsDown"));

    m_model = new ProtoModel(this);
    lvProto = Named<QTreeView>(this, "lvProto");
    lvProto->setRootIsDecorated(false);
    lvProto->setUniformRowHeights(true); // many rows: no measuring of each
    lvProto->setAllColumnsShowFocus(true);
    lvProto->setModel(m_model);
    lvProto->setAccessibleName(LangText(QStringLiteral("Protokoll"), QStringLiteral("Protocol")));

    m_details = new QWidget(this);
    m_details->setObjectName(QStringLiteral("fraProtoDetails"));
    auto* grid = new QGridLayout(m_details);
    grid->setContentsMargins(0, 0, 0, 0);
    for (int i = 0; i < 10; ++i) {
        auto* caption =
            Named<QLabel>(m_details, kDetails[i].caption, QString::fromUtf8(kDetails[i].tag));
        m_lblProto[i] = Named<QLabel>(m_details, kDetails[i].name);
        m_lblProto[i]->setTextFormat(Qt::PlainText);
        m_lblProto[i]->setTextInteractionFlags(Qt::TextSelectableByMouse);
        caption->setBuddy(m_lblProto[i]);
        const int row = i % 5, col = (i / 5) * 2;
        grid->addWidget(caption, row, col);
        grid->addWidget(m_lblProto[i], row, col + 1);
    }
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);
    m_details->hide();

    connect(clFilter, &QComboBox::currentIndexChanged, this, [this] { clFilter_Click(); });
    connect(clSelect, &QComboBox::currentIndexChanged, this, [this] { clSelect_Click(); });
    connect(lvProto->selectionModel(), &QItemSelectionModel::currentRowChanged, this, [this] {
        if (!m_quiet) lvProto_Click();
    });
    connect(refresh, &QToolButton::clicked, this, [this] { InitProtoList(); });
    connect(view, &QToolButton::clicked, this, [this] { btnProtoView_Click(); });
    connect(openFolder, &QToolButton::clicked, this, [this] { btnProtoOpenFolder_Click(); });
    connect(del, &QToolButton::clicked, this, [this] { btnProtoDel_Click(); });
    connect(imgZoomProto, &QToolButton::clicked, this, [this] { setZoomed(!zoomed()); });

    auto* top = new QHBoxLayout;
    top->addWidget(label1);
    top->addWidget(clFilter);
    top->addSpacing(8);
    top->addWidget(label3);
    top->addWidget(clSelect, 1);
    for (QToolButton* b : {refresh, view, openFolder, del, imgZoomProto})
        top->addWidget(b);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(lvProto, 1);
    layout->addWidget(m_details);
}

void ProtoPanel::fillCombos() {
    const QSignalBlocker filterQuiet(clFilter);
    const QSignalBlocker selectQuiet(clSelect);
    clFilter->clear();
    for (int i = 0; i < ProtoFilter::Count; ++i)
        clFilter->addItem(FilterCaption(i));
    clFilter->setCurrentIndex(0);
    clSelect->clear();
    clSelect->addItem(AllEntry());
    clSelect->setCurrentIndex(0);
}

void ProtoPanel::clFilter_Click() {
    if (m_form.bLoading) return;
    {
        const QSignalBlocker quiet(clSelect);
        clSelect->clear();
        clSelect->addItems(m_model->collectValues(clFilter->currentIndex()));
        clSelect->insertItem(0, AllEntry());
        clSelect->setCurrentIndex(0);
    }
    clSelect_Click(); // the index set to 0 is the list's change
}

void ProtoPanel::clSelect_Click() {
    if (m_form.bLoading) return;
    InitProtoList();
    lvProto_Click();
}

void ProtoPanel::InitProtoList() {
    const int filter = std::max(clFilter->currentIndex(), 0);
    const QString value = clSelect->currentText();
    m_quiet = true;
    m_model->rebuild(filter, clSelect->currentIndex() > 0 ? &value : nullptr);
    for (int c = 0; c < 4; ++c)
        lvProto->setColumnWidth(c, kWidths[c]);
    const int dateWidth =
        lvProto->fontMetrics().horizontalAdvance(QStringLiteral("88.88.8888 88:88")) + 16;
    lvProto->setColumnWidth(0, std::max(kWidths[0], dateWidth));
    if (m_model->rowCount() > 0) lvProto->setCurrentIndex(m_model->index(0, 0));
    m_quiet = false;
}

int ProtoPanel::selectedEntry() const {
    const QModelIndex current = lvProto->currentIndex();
    return current.isValid() ? m_model->entryAt(current.row()) : 0;
}

void ProtoPanel::selectProtoEntry(int index) {
    if (index < 1 || index > ProtoEntries.count()) {
        ui().beep();
        return;
    }
    if (m_model->rowOf(index) < 0) { // hidden by the filter: show everything
        const bool loading = m_form.bLoading;
        m_form.bLoading = true;
        clFilter->setCurrentIndex(0);
        m_form.bLoading = loading;
        fillCombos();
        InitProtoList();
    }
    // Selected where it stands: the Search tab that asks stays in front.
    const QModelIndex row = m_model->index(m_model->rowOf(index), 0);
    m_quiet = true;
    lvProto->setCurrentIndex(row);
    m_quiet = false;
    lvProto->scrollTo(row, QAbstractItemView::PositionAtCenter);
    lvProto_Click();
}

QString ProtoPanel::ruleToolTip(const QString& rule) {
    // The rule is loaded into the Rules tab on purpose: its sentence says what the rule tests.
    m_form.InitRulesList(rule);
    QString tip = QStringLiteral(" ");
    static const char* const kCriteria[4][3] = {
        {"lblSenderTXT", "lblChooseSender", "lblAND1"},
        {"lblRecipientTXT", "lblChooseRecipient", "lblAND2"},
        {"lblSubjTXT", "lblChooseSubj", "lblAND3"},
        {"lblFileFormatTXT", "lblChooseFileFormat", "lblAND4"},
    };
    const auto caption = [this](const char* name) {
        const QLabel* l = m_form.findChild<QLabel*>(QString::fromLatin1(name));
        return l ? l->text() : QString();
    };
    for (const auto& c : kCriteria) {
        const QLabel* text = m_form.findChild<QLabel*>(QString::fromLatin1(c[0]));
        if (!text || text->isHidden()) continue;
        tip += text->text() + QStringLiteral(" '") + caption(c[1]) + QStringLiteral("' ") +
               caption(c[2]);
    }
    if (tip.trimmed().isEmpty()) tip = caption("lblStdRule");
    return tip;
}

void ProtoPanel::lvProto_Click() {
    for (QLabel* l : m_lblProto)
        l->clear();
    m_lblProto[Rule]->setToolTip(QString());
    m_lblProto[State]->setToolTip(QString());
    const int n = selectedEntry();
    if (n < 1 || n > ProtoEntries.count()) {
        ui().beep();
        return;
    }
    const udtProtoEntry& e = ProtoEntries[static_cast<size_t>(n)];
    const QString rule = ProtoText(e, ProtoField::Rule);
    for (int i = 1; i <= Rules.count(); ++i) {
        if (Rules[static_cast<size_t>(i)].Name.get() != rule) continue;
        m_lblProto[Rule]->setToolTip(ruleToolTip(rule));
        break;
    }
    for (int i = 0; i < 10; ++i)
        m_lblProto[i]->setText(ProtoText(e, kDetailFields[i]));
    m_lblProto[State]->setToolTip(ProtoStateMeaning(m_lblProto[State]->text()));
}

bool ProtoPanel::savedNothing(int n) {
    const QString state = ProtoText(ProtoEntries[static_cast<size_t>(n)], ProtoField::State);
    if (!state.startsWith(QLatin1Char('T')) && !state.startsWith(QLatin1Char('!'))) return false;
    ui().beep();
    ui().messageBox(LangText(QStringLiteral("Dies war ein Testlauf oder es ist ein Fehler "
                                            "aufgetreten, es wurde kein Anhang gespeichert!"),
                             QStringLiteral("This was a test run or an error occured, no "
                                            "attachment was saved!")),
                    MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
    return true;
}

void ProtoPanel::btnProtoView_Click() {
    const int n = selectedEntry();
    if (n < 1 || n > ProtoEntries.count()) {
        ui().beep();
        return;
    }
    if (savedNothing(n)) return;
    const udtProtoEntry& e = ProtoEntries[static_cast<size_t>(n)];
    const QString path =
        AddBackslash(ProtoText(e, ProtoField::Folder)) + ProtoText(e, ProtoField::Attachment);
    if (IsFormatBlocked(GetExtensionUpper(path))) {
        ui().beep();
        ui().messageBox(LangText(QStringLiteral("Dateien dieses Typs sind blockiert und können "
                                                "nicht geöffnet werden!"),
                                 QStringLiteral("Files of this type are blocked and can't be "
                                                "opened!")),
                        MsgButtons::OK, MsgIcon::Stop, gAppCaption);
        return;
    }
    OpenWithShell(path);
}

void ProtoPanel::btnProtoOpenFolder_Click() {
    const int n = selectedEntry();
    if (n < 1 || n > ProtoEntries.count()) {
        ui().beep();
        return;
    }
    if (savedNothing(n)) return;
    OpenWithShell(
        StripBackslash(ProtoText(ProtoEntries[static_cast<size_t>(n)], ProtoField::Folder)));
}

void ProtoPanel::btnProtoDel_Click() {
    if (ProtoEntries.count() == 0 && !QFile::exists(DataFilePath(QStringLiteral(".prt")))) {
        ui().beep();
        ui().messageBox(LangText(QStringLiteral("Das Protokoll ist leer..."),
                                 QStringLiteral("Protocol is empty...")),
                        MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
        return;
    }
    ui().beep();
    if (ui().messageBox(LangText(QStringLiteral("Möchten Sie das Protokoll wirklich komplett "
                                                "löschen?"),
                                 QStringLiteral("Do you really wish to delete the entire "
                                                "protocol?")),
                        MsgButtons::YesNo, MsgIcon::Exclamation, gAppCaption) != MsgAnswer::Yes)
        return;
    QString why;
    WipeProtocol(&why);
    if (!why.isEmpty())
        ui().messageBox(QStringLiteral("%1\n\n%2").arg(DataFilePath(QStringLiteral(".prt")), why),
                        MsgButtons::OK, MsgIcon::Stop, gAppCaption);
    fillCombos();
    InitProtoList();
    lvProto_Click();
    PlaySystemSound(QStringLiteral("SystemAsterisk"));
    m_form.UpdateOBs();
}

bool ProtoPanel::zoomed() const {
    return m_details->isVisibleTo(this);
}

void ProtoPanel::setZoomed(bool zoom) {
    if (zoom == zoomed()) return;
    m_details->setVisible(zoom);
    imgZoomProto->setIcon(ThemeIcon({zoom ? "go-up" : "go-down"}));
    imgZoomProto->setProperty("Picture",
                              zoom ? QStringLiteral("ArrowsUp") : QStringLiteral("ArrowsDown"));
    emit zoomChanged(zoom);
    if (zoom) lvProto_Click();
}
