// The Rules tab: selecting a rule, each editor control writing its one field, the rule
// sentence, the list's add, rename, delete and move, the projects of a rule and the rule test.
#include "gui_test.h"

#include "data/data_files.h"
#include "data/rule_edits.h"
#include "dialogs/forms/frm_sender_recp.h"

#include <QGroupBox>

namespace {
udtRule Rule(const QString& name, int16_t saveBy = SaveBy::Date,
             const QString& folder = u"/srv/ablage"_s) {
    return MakeRule(name, saveBy, folder);
}

struct SelectRow {
    const char* name;
    int saveBy, fileExists;
    QString saveFormatText, folderText;
    int option;
};
struct FieldRow {
    const char* name;
    QString control, input; // input: text, answer, index; empty for a click
    QString field, value;
};
struct RefusalRow {
    const char* name;
    QString control, input, box;
};
struct SentenceRow {
    const char* name;
    int lang;
    QString checks; // sender, recipient, subject, format
    QStringList rows;
};
struct TargetRow {
    const char* name;
    int lang, saveBy, format;
    QStringList formats;
    QString info;
};
struct ListRow {
    const char* name;
    QString action, answer;
    int row; // selected before
    QStringList names;
    int selected, beeps;
    bool changed;
};

QStringList RuleNames() {
    QStringList names;
    for (int i = 1; i <= Rules.count(); ++i)
        names << Rules[static_cast<size_t>(i)].Name.get();
    return names;
}

// Every field of a rule as the command line shows it, for "only this field changed".
QMap<QString, QString> Fields(const udtRule& r) {
    QMap<QString, QString> out;
    for (RuleField f : AllRuleFields())
        out[RuleFieldName(f)] = RuleFieldValue(r, f);
    return out;
}
} // namespace

class TestRulesPage : public GuiTest {
    Q_OBJECT
  private:
    // The dialog shown on the Rules tab over `rules`, with nothing changed yet.
    void open(const std::vector<udtRule>& rules, int lang = 0) {
        ReplaceRules(rules);
        Rules.changed = false;
        GuiTest::open(lang, 1).show();
        if (!QTest::qWaitForWindowExposed(m_form.get())) qWarning("form not exposed");
    }
    QListWidget* list() { return ctl<QListWidget>(u"lstRules"_s); }
    void select(int row) { list()->setCurrentRow(row); }
    void setText(const QString& name, const QString& text) {
        auto* box = ctl<QLineEdit>(name);
        box->setText(text);
        box->setModified(true);
        emit box->editingFinished();
    }
    void clickLabel(const QString& name) { QTest::mouseClick(ctl<QLabel>(name), Qt::LeftButton); }
    // The sentence as it stands in the panel: each row's captions, top to bottom.
    QStringList sentence() {
        auto* panel = ctl<QWidget>(u"pnlRuleText"_s);
        QMap<int, QMap<int, QString>> rows;
        for (QLabel* l : panel->findChildren<QLabel*>())
            if (l->isVisible() && !l->text().isEmpty() && l->objectName() != u"lblStdRule")
                rows[l->y()][l->x()] = l->text();
        QStringList out;
        for (const auto& row : rows)
            out << row.values().join(u'|');
        return out;
    }

  private slots:
    void selectingFillsTheEditorWithoutWriting_data() {
        // clang-format off
        Rows<SelectRow>({
            {"by date", 0, 2, u"JJJJ-MM"_s, u"/srv/ablage"_s, 2},
            {"by project shows its folder", 3, 3, u"Kunden"_s, u"/srv/kunden"_s, 3},
            {"damaged FileExists shows the first option", 0, 7, u"JJJJ-MM"_s, u"/srv/ablage"_s, 0},
        });
        // clang-format on
    }
    void selectingFillsTheEditorWithoutWriting() {
        QFETCH(SelectRow, row);
        const auto& [name, saveBy, fileExists, saveFormatText, folderText, option] = row;
        Projects.append(MakeProject(u"Kunden"_s, u"/srv/kunden"_s));
        udtRule r = Rule(u"Second"_s, static_cast<int16_t>(saveBy),
                         saveBy == 3 ? u"Kunden"_s : u"/srv/ablage"_s);
        r.SaveFormat = saveBy == 0 ? 2 : saveBy == 1 ? 1 : 0;
        r.FileExists = static_cast<uint8_t>(fileExists);
        r.CheckSubj = vbTrue;
        r.Subject = u"Rechnung"_s;
        r.Execute = u"xdg-open"_s;
        r.Notify = vbTrue;
        open({Rule(u"First"_s), r});
        select(1);
        QCOMPARE(ctl<QGroupBox>(u"frRuleOptions"_s)->title(), u"Einstellungen für 'Second':"_s);
        QVERIFY(ctl<QCheckBox>(u"cbRulesSubj"_s)->isChecked());
        QVERIFY(!ctl<QCheckBox>(u"cbRulesSender"_s)->isChecked());
        QCOMPARE(ctl<QLineEdit>(u"txtRulesSubj"_s)->text(), u"Rechnung"_s);
        QCOMPARE(ctl<QComboBox>(u"clRulesSaveBy"_s)->currentIndex(), saveBy);
        QCOMPARE(ctl<QComboBox>(u"clRulesSaveFormat"_s)->currentText(), saveFormatText);
        QCOMPARE(ctl<QLineEdit>(u"txtRulesFolder"_s)->text(), folderText);
        QCOMPARE(ctl<QLineEdit>(u"txtRulesRunApp"_s)->text(), u"xdg-open"_s);
        QVERIFY(ctl<QCheckBox>(u"cbInform"_s)->isChecked());
        QVERIFY(!ctl<QCheckBox>(u"cbRulesHyperlinks"_s)->isChecked());
        QVERIFY(ctl<QRadioButton>(u"obFileExists_%1"_s.arg(option))->isChecked());
        // Loading wrote nothing: the repair of a damaged value is not a change to save.
        QVERIFY(!Rules.changed);
        QCOMPARE(int(Rules[2].FileExists), option);
        QCOMPARE(Rules[2].Folder.get(), r.Folder.get());
        QCOMPARE(m_user.beeps(), 0);
    }

    void eachControlWritesItsField_data() {
        // clang-format off
        Rows<FieldRow>({
            {"sender check", u"cbRulesSender"_s, u""_s, u"CheckSender"_s, u"1"_s},
            {"recipient check", u"cbRulesRecipient"_s, u""_s, u"CheckRecp"_s, u"1"_s},
            {"subject check", u"cbRulesSubj"_s, u""_s, u"CheckSubj"_s, u"1"_s},
            {"format check", u"cbRulesFileFormat"_s, u""_s, u"CheckFileFormat"_s, u"1"_s},
            {"delete", u"cbRulesDelAttach"_s, u""_s, u"DelAttach"_s, u"1"_s},
            {"notify", u"cbInform"_s, u""_s, u"Notify"_s, u"1"_s},
            {"links", u"cbRulesHyperlinks"_s, u""_s, u"Hyperlink"_s, u"1"_s},
            {"file exists", u"obFileExists_2"_s, u""_s, u"FileExists"_s, u"2"_s},
            {"date format", u"clRulesSaveFormat"_s, u"3"_s, u"SaveFormat"_s, u"3"_s},
            {"save by folder", u"clRulesSaveBy"_s, u"4"_s, u"SaveBy"_s, u"4"_s},
            {"folder box", u"txtRulesFolder"_s, u"/srv/neu"_s, u"Folder"_s, u"/srv/neu"_s},
            {"folder box cuts at 200", u"txtRulesFolder"_s, u"/"_s + QString(250, u'x'),
             u"Folder"_s, u"/"_s + QString(199, u'x')},
            {"application", u"txtRulesRunApp"_s, u"xdg-open"_s, u"Execute"_s, u"xdg-open"_s},
            {"no application", u"txtRulesRunApp"_s, u""_s, u"Execute"_s, u""_s},
            {"subject text", u"lblChooseSubj"_s, u"Angebot"_s, u"Subject"_s, u"Angebot"_s},
            {"format upper-cased", u"lblChooseFileFormat"_s, u"pdf"_s, u"FileFormat"_s, u"PDF"_s},
            {"format cut at 5", u"lblChooseFileFormat"_s, u"tiffxx"_s, u"FileFormat"_s, u"TIFFX"_s},
            {"sender through the dialog", u"lblChooseSender"_s, u"@firma.de"_s, u"Sender"_s,
             u"@firma.de"_s},
            {"recipient through the dialog", u"lblChooseRecipient"_s, u"Carl Dorn"_s,
             u"Recipient"_s, u"Carl Dorn"_s},
            {"base folder chosen", u"btnChooseFolder"_s, u"/srv/gewaehlt"_s, u"Folder"_s,
             u"/srv/gewaehlt"_s},
            {"check mark", u"lstRules"_s, u""_s, u"Active"_s, u"0"_s},
        });
        // clang-format on
    }
    void eachControlWritesItsField() {
        QFETCH(FieldRow, row);
        const auto& [name, control, input, field, value] = row;
        udtRule r = Rule(u"Rechnungen"_s);
        r.Execute = u"old-program"_s;
        open({Rule(u"Other"_s), r});
        select(1);
        const QMap<QString, QString> before = Fields(Rules[2]);
        QObject* w = m_form->findChild<QObject*>(control);
        QVERIFY(w);
        if (auto* list = qobject_cast<QListWidget*>(w)) {
            list->item(1)->setCheckState(Qt::Unchecked);
        } else if (auto* box = qobject_cast<QAbstractButton*>(w)) {
            if (!input.isEmpty()) m_user.answerText(input);
            box->click();
        } else if (auto* combo = qobject_cast<QComboBox*>(w)) {
            combo->setCurrentIndex(input.toInt());
        } else if (qobject_cast<QLineEdit*>(w)) {
            setText(control, input);
        } else if (control == u"lblChooseSender" || control == u"lblChooseRecipient") {
            WhenShown<frmSenderRecp>([&](frmSenderRecp* d) {
                d->txtInput->setText(input);
                d->btnOK->click();
            });
            clickLabel(control);
        } else {
            m_user.answerText(input);
            clickLabel(control);
        }
        QMap<QString, QString> expected = before;
        expected[field] = value;
        QCOMPARE(Fields(Rules[2]), expected);
        QVERIFY(Rules.changed);
        QCOMPARE(Fields(Rules[1]), Fields(Rule(u"Other"_s)));
        QCOMPARE(m_user.beeps(), 0);
    }

    void refusedInputChangesNothing_data() {
        // clang-format off
        Rows<RefusalRow>({
            {"empty folder", u"txtRulesFolder"_s, u""_s, u"Feld darf nicht leer sein!"_s},
            {"program for a blocked format", u"txtRulesRunApp"_s, u"xdg-open"_s,
             u"Dateien dieses Typs sind blockiert und können nicht ausgeführt oder geöffnet "
             u"werden!"_s},
            {"format with a dot", u"lblChooseFileFormat"_s, u".pdf"_s,
             u"FileFormat takes a file extension without its dot, such as PDF; '.PDF' is not "
             u"one"_s},
        });
        // clang-format on
    }
    void refusedInputChangesNothing() {
        QFETCH(RefusalRow, row);
        const auto& [name, control, input, box] = row;
        BlockedFormats.append(AddBlockedFormat(u"EXE"_s, {}, false));
        udtRule r = Rule(u"Programme"_s);
        r.CheckFileFormat = vbTrue;
        r.FileFormat = u"EXE"_s;
        open({r});
        const QMap<QString, QString> before = Fields(Rules[1]);
        if (control.startsWith(u"lbl")) {
            m_user.answerText(input);
            clickLabel(control);
        } else {
            setText(control, input);
        }
        QCOMPARE(Fields(Rules[1]), before);
        QVERIFY(!Rules.changed);
        QCOMPARE(m_user.questions(AskedQuestion::Kind::MessageBox).size(), size_t(1));
        QCOMPARE(LastPrompt(m_user, AskedQuestion::Kind::MessageBox), box);
        QCOMPARE(m_user.beeps(), 1);
    }

    void ruleSentence_data() {
        // clang-format off
        Rows<SentenceRow>({
            {"one criterion ends in a full stop", 0, u"1000"_s,
             {u"Der Absender ist|anna@berg.example|."_s}},
            {"two join with and", 1, u"0110"_s,
             {u"The recipient is|Carl Dorn|and"_s, u"the subject contains|Angebot|."_s}},
            {"three in English", 1, u"1011"_s,
             {u"The sender is|anna@berg.example|,"_s, u"the subject contains|Angebot|and"_s,
              u"the attachment format is|PDF|."_s}},
            {"four, an empty field shows its placeholder", 0, u"1111"_s,
             {u"Der Absender ist|anna@berg.example|,"_s, u"der Empfänger ist|Empfänger wählen|,"_s,
              u"der Betreff enthält|Angebot|und"_s, u"der Anhang ist im Format|PDF|."_s}},
            {"none", 1, u"0000"_s, {}},
        });
        // clang-format on
    }
    void ruleSentence() {
        QFETCH(SentenceRow, row);
        const auto& [name, lang, checks, rows] = row;
        udtRule r = Rule(u"Satz"_s);
        r.CheckSender = ToVb(checks[0] == u'1');
        r.CheckRecp = ToVb(checks[1] == u'1');
        r.CheckSubj = ToVb(checks[2] == u'1');
        r.CheckFileFormat = ToVb(checks[3] == u'1');
        r.Sender = u"anna@berg.example"_s;
        if (lang == 1) r.Recipient = u"Carl Dorn"_s;
        r.Subject = u"Angebot"_s;
        r.FileFormat = u"PDF"_s;
        open({r}, lang);
        QCOMPARE(sentence(), rows);
        auto* std = ctl<QLabel>(u"lblStdRule"_s);
        QCOMPARE(std->isVisible(), rows.isEmpty());
        QCOMPARE(std->text(), lang ? u"No criterias set..."_s : u"Keine Kriterien gesetzt..."_s);
        // The picture stands between the format and the closing label.
        auto* pic = ctl<QLabel>(u"picFileFormat"_s);
        QCOMPARE(pic->isVisible(), checks[3] == u'1');
        if (pic->isVisible()) {
            QVERIFY(pic->x() >= ctl<QLabel>(u"lblChooseFileFormat"_s)->geometry().right());
            QVERIFY(pic->geometry().right() < ctl<QLabel>(u"lblAND4"_s)->x());
        }
        // Unticking the first criterion takes its row away at once.
        if (checks[0] == u'1' && rows.size() > 1) {
            ctl<QCheckBox>(u"cbRulesSender"_s)->click();
            QCOMPARE(sentence().size(), rows.size() - 1);
            QVERIFY(sentence().constFirst().at(0).isUpper());
        }
    }

    void targetExplained_data() {
        const QString today = QDate::currentDate().toString(u"yyyy-MM-dd"_s);
        // clang-format off
        Rows<TargetRow>({
            {"date", 0, 0, 1, {u"TT-MM-JJJJ"_s, u"JJJJ-MM-TT"_s, u"JJJJ-MM"_s, u"JJJJ-KW"_s},
             u"Die Anhänge werden im gewählten Basisordner in Unterordner wie '"_s + today +
                 u"' gespeichert..."_s},
            {"date in English writes YYYY-WY", 1, 0, 1,
             {u"DD-MM-YYYY"_s, u"YYYY-MM-DD"_s, u"YYYY-MM"_s, u"YYYY-WY"_s},
             u"Attachments will be saved to the chosen base folder in subfolders like '"_s +
                 today + u"'..."_s},
            {"sender's address", 0, 1, 1, {u"Absender-Name"_s, u"E-Mail-Adresse"_s},
             u"Die Anhänge werden im gewählten Basisordner in Unterordner wie "
             u"'erika.mustermann#beispiel.de' gespeichert..."_s},
            {"project", 1, 3, 0, {u"Kunden"_s},
             u"Attachments will be saved directly to the folder associated with the chosen "
             u"project..."_s},
            {"folder", 0, 4, 0, {},
             u"Die Anhänge werden direkt im gewählten Ordner gespeichert..."_s},
        });
        // clang-format on
    }
    void targetExplained() {
        QFETCH(TargetRow, row);
        const auto& [name, lang, saveBy, format, formats, info] = row;
        Projects.append(MakeProject(u"Kunden"_s, u"/srv/kunden"_s));
        udtRule r = Rule(u"Ziel"_s, static_cast<int16_t>(saveBy),
                         saveBy == 3 ? u"Kunden"_s : u"/srv/ablage"_s);
        r.SaveFormat = static_cast<int16_t>(format);
        open({r}, lang);
        auto* combo = ctl<QComboBox>(u"clRulesSaveFormat"_s);
        QCOMPARE(Texts(combo), formats);
        QCOMPARE(ctl<QLabel>(u"lblSaveInfos"_s)->text(), info);
        QCOMPARE(combo->isVisible(), saveBy != 4);
        QCOMPARE(ctl<QToolButton>(u"btnEditProjects"_s)->isVisible(), saveBy == 3);
        QCOMPARE(ctl<QLineEdit>(u"txtRulesFolder"_s)->isEnabled(), saveBy != 3);
    }

    void listEdits_data() {
        const QStringList abc{u"A"_s, u"B"_s, u"C"_s};
        // clang-format off
        Rows<ListRow>({
            {"add selects the new rule", u"btnRulesAdd"_s, u"Neu"_s, 0,
             {u"A"_s, u"B"_s, u"C"_s, u"Neu"_s}, 3, 0, true},
            {"add of a name in other case selects the existing rule", u"btnRulesAdd"_s, u"b"_s, 0,
             abc, 1, 1, false},
            {"add of 120 characters keeps 100 and selects the first", u"btnRulesAdd"_s,
             QString(120, u'x'), 2, {u"A"_s, u"B"_s, u"C"_s, QString(100, u'x')}, 0, 0, true},
            {"rename may repeat a name", u"btnRuleEdit"_s, u"A"_s, 2, {u"A"_s, u"B"_s, u"A"_s}, 2,
             1, true},
            {"delete the last selects the new last", u"btnRulesDel"_s, u""_s, 2, {u"A"_s, u"B"_s},
             1, 1, true},
            {"delete in the middle keeps the place", u"btnRulesDel"_s, u""_s, 0, {u"B"_s, u"C"_s},
             0, 1, true},
            {"move down", u"spnUpDownDown"_s, u""_s, 0, {u"B"_s, u"A"_s, u"C"_s}, 1, 0, true},
            {"move the first up beeps", u"spnUpDownUp"_s, u""_s, 0, abc, 0, 1, false},
        });
        // clang-format on
    }
    void listEdits() {
        QFETCH(ListRow, row);
        const auto& [name, action, answer, start, names, selected, beeps, changed] = row;
        open({Rule(u"A"_s), Rule(u"B"_s), Rule(u"C"_s)});
        select(start);
        if (!answer.isEmpty()) m_user.answerText(answer);
        ctl<QToolButton>(action)->click();
        QCOMPARE(RuleNames(), names);
        QCOMPARE(list()->currentRow(), selected);
        QCOMPARE(m_user.beeps(), beeps);
        QCOMPARE(Rules.changed, changed);
        if (action == u"btnRulesAdd" && changed) {
            // A new rule saves by date into the documents folder.
            const udtRule& added = Rules[4];
            QVERIFY(IsTrue(added.Active));
            QCOMPARE(added.Folder.get(), GetSpecialFolder(Csidl::Personal));
        }
        if (action == u"btnRuleEdit") QCOMPARE(list()->item(start)->text(), answer);
    }

    void deletingTheOnlyRuleSelectsNothing() {
        open({Rule(u"Einzige"_s)});
        ctl<QToolButton>(u"btnRulesDel"_s)->click();
        QCOMPARE(Rules.count(), int16_t(0));
        QCOMPARE(list()->currentRow(), -1);
        QCOMPARE(ctl<QGroupBox>(u"frRuleOptions"_s)->title(), u"Einstellungen für 'Einzige':"_s);
        // The editor's clicks now beep and write nothing.
        ctl<QCheckBox>(u"cbInform"_s)->click();
        QCOMPARE(m_user.beeps(), 2);
    }

    void savingByProject_data() {
        QTest::addColumn<bool>("withProject");
        QTest::addColumn<QString>("folder");
        QTest::newRow("the first project's name at once") << true << "Kunden";
        QTest::newRow("no project leaves the folder") << false << "/srv/ablage";
    }
    void savingByProject() {
        QFETCH(bool, withProject);
        QFETCH(QString, folder);
        if (withProject) {
            Projects.append(MakeProject(u"Kunden"_s, u"/srv/kunden"_s));
            Projects.append(MakeProject(u"Lieferanten"_s, u"/srv/lief"_s));
        }
        open({Rule(u"Projektregel"_s)});
        ctl<QComboBox>(u"clRulesSaveBy"_s)->setCurrentIndex(3);
        QCOMPARE(Rules[1].SaveBy, SaveBy::Project);
        QCOMPARE(Rules[1].Folder.get(), folder);
        if (!withProject) return;
        QCOMPARE(ctl<QLineEdit>(u"txtRulesFolder"_s)->text(), u"/srv/kunden"_s);
        ctl<QComboBox>(u"clRulesSaveFormat"_s)->setCurrentIndex(1);
        QCOMPARE(Rules[1].Folder.get(), u"Lieferanten"_s);
        QCOMPARE(ctl<QLineEdit>(u"txtRulesFolder"_s)->text(), u"/srv/lief"_s);
    }

    // The check itself is the folder commands'; the button checks the chosen folder, or beeps.
    void checkRuleTakesTheChosenFolder_data() {
        QTest::addColumn<int>("folderRow");
        QTest::newRow("a folder chosen") << 0;
        QTest::newRow("no folder chosen beeps") << -1;
    }
    void checkRuleTakesTheChosenFolder() {
        QFETCH(int, folderRow);
        FakeMailSession session;
        SetMailSession(&session);
        FakeFolderPtr inbox = session.addStore(u"Maildir"_s, u"/mail"_s)->addFolder(u"Inbox"_s);
        inbox->addMessage({})->addAttachment(u"a.pdf"_s);
        WatchFolders.append(WatchOf(inbox));
        open({Rule(u"Alles"_s, SaveBy::Folder)});
        auto* folders = ctl<QComboBox>(u"clFoldersCheckRule"_s);
        folders->clear();
        folders->addItem(u"Inbox"_s);
        folders->setCurrentIndex(folderRow);
        m_user.answerMsgBoxEx(1);
        ctl<QPushButton>(u"btnCheckRule"_s)->click();
        QCOMPARE(m_user.questions(AskedQuestion::Kind::MsgBoxEx).size(), size_t(folderRow + 1));
        QCOMPARE(m_user.beeps(), 1);
        m_form.reset();
        SetMailSession(nullptr);
    }
};

STOWAWAY_GUI_TEST_MAIN(TestRulesPage)
#include "test_rules_page.moc"
