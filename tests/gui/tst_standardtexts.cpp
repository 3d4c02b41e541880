#include "support/TestMain.h"

#include "support/windows/MessageBoxAnswerer.h"
#include "ui/MessageBox.h"
#include "ui/StandardTexts.h"

#include <QAbstractButton>
#include <QAction>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMutex>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPushButton>
#include <QScrollBar>
#include <QSet>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QToolButton>
#include <QTreeView>

#include <algorithm>
#include <memory>

namespace
{

/// The launcher's texts, which also list what they are asked for. The file chooser asks from a
/// thread of its own too.
class ListingTexts : public StandardTexts
{
public:
    QString translate(const char *context, const char *sourceText, const char *disambiguation,
                      int n) const override
    {
        const QString text = StandardTexts::translate(context, sourceText, disambiguation, n);
        const QMutexLocker locker(&mutex);
        if (text.isEmpty()) {
            left.insert(QLatin1String(context) + u'|' + QLatin1String(sourceText));
        } else if (!isAscii(text)) {
            accented.insert(text);
        }
        return text;
    }

    void forget()
    {
        const QMutexLocker locker(&mutex);
        left.clear();
    }

    /// What stays as it is, each after its context.
    QSet<QString> leftTexts() const
    {
        const QMutexLocker locker(&mutex);
        return left;
    }

    QSet<QString> accentedTexts() const
    {
        const QMutexLocker locker(&mutex);
        return accented;
    }

private:
    static bool isAscii(const QString &text)
    {
        return std::all_of(text.begin(), text.end(),
                           [](QChar character) { return character.unicode() < 0x80; });
    }

    mutable QMutex mutex;
    mutable QSet<QString> left;
    mutable QSet<QString> accented;
};

QStringList textsOf(const QList<QAction *> &actions)
{
    QStringList texts;
    for (const QAction *action : actions) {
        if (!action->isSeparator()) {
            // Without the shortcut, which follows a tabulator.
            texts.append(action->text().section(u'\t', 0, 0));
        }
    }
    return texts;
}

/// The letters that the texts can be reached by.
QString mnemonicsOf(const QStringList &texts)
{
    QString letters;
    for (const QString &text : texts) {
        const qsizetype mark = text.indexOf(u'&');
        if (mark >= 0) {
            letters.append(text.at(mark + 1).toLower());
        }
    }
    return letters;
}

bool hasDoubles(const QString &letters)
{
    return QSet<QChar>(letters.begin(), letters.end()).size() != letters.size();
}

/// Opens the context menu of @p widget like a right click and returns its texts.
QStringList contextMenuTexts(QWidget *widget, const QPoint &point = {3, 3})
{
    QStringList texts;
    QObject context;
    QMetaObject::invokeMethod(
        &context,
        [&texts] {
            auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
            QVERIFY(menu != nullptr);
            texts = textsOf(menu->actions());
            menu->close();
        },
        Qt::QueuedConnection);
    QContextMenuEvent event(QContextMenuEvent::Mouse, point, widget->mapToGlobal(point));
    QApplication::sendEvent(widget, &event);
    // A menu that did not open leaves no texts.
    return QTest::qWaitFor([&texts] { return !texts.isEmpty(); }) ? texts : QStringList();
}

/// Types @p name into the chooser's field and presses the return key.
void enterName(QFileDialog &chooser, const QString &name)
{
    auto *edit = chooser.findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
    edit->setFocus();
    edit->clear();
    QTest::keyClicks(edit, name);
    QTest::keyClick(edit, Qt::Key_Return);
}

} // namespace

class TestStandardTexts : public TestBase
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void aQuestionIsAnsweredWithSimOrNao();
    void aWarningIsClosedWithOk();
    void everyButtonOfABoxIsPortuguese_data();
    void everyButtonOfABoxIsPortuguese();
    void noTwoButtonsOfAQuestionShareALetter();
    void aBoxOffersItsDetailsInPortuguese();
    void aSettingsDialogHasOkAndCancelar();
    void theButtonsOfAGnomeDesktopArePortuguese_data();
    void theButtonsOfAGnomeDesktopArePortuguese();

    void aFileChooserIsPortuguese();
    void aFolderChooserIsPortuguese();
    void aSaveChooserIsPortuguese();
    void theFileListIsPortuguese();
    void theFileListsMenuIsPortuguese();
    void aWrongFileNameIsToldInPortuguese();
    void aWrongFolderNameIsToldInPortuguese();
    void anExistingFileIsAskedAboutInPortuguese();
    void deletingAFileIsAskedAboutInPortuguese();

    void theMenuOfALineEditIsPortuguese();
    void theMenuOfATextEditIsPortuguese();
    void theMenuOfASpinBoxIsPortuguese();
    void theMenuOfAScrollBarIsPortuguese_data();
    void theMenuOfAScrollBarIsPortuguese();

    void aTextOfARareMomentIsPortuguese_data();
    void aTextOfARareMomentIsPortuguese();
    void nothingIsLeftInEnglish();
    void otherTextsStayOnPurpose_data();
    void otherTextsStayOnPurpose();
    void aNetworkErrorKeepsItsTextOnPurpose();
    void missingNamesAreHarmless();
    void withoutTheTextsQtSpeaksForItself();

private:
    std::unique_ptr<QFileDialog> openChooser(QFileDialog::FileMode mode,
                                             QFileDialog::AcceptMode accept);

    std::unique_ptr<ListingTexts> texts;
    std::unique_ptr<QTemporaryDir> folder;
};

void TestStandardTexts::init()
{
    TestBase::init();
    texts = std::make_unique<ListingTexts>();
    QVERIFY(QCoreApplication::installTranslator(texts.get()));
    folder = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir(folder->path()).mkdir(QStringLiteral("sub")));
    QFile file(folder->filePath(QStringLiteral("ZEL.exe")));
    QVERIFY(file.open(QIODevice::WriteOnly));
}

void TestStandardTexts::cleanup()
{
    QCOMPARE(texts ? texts->accentedTexts() : QSet<QString>(), QSet<QString>());
    texts.reset();
    folder.reset();
}

std::unique_ptr<QFileDialog> TestStandardTexts::openChooser(QFileDialog::FileMode mode,
                                                            QFileDialog::AcceptMode accept)
{
    auto chooser = std::make_unique<QFileDialog>(nullptr, QStringLiteral("Titulo"), folder->path());
    chooser->setOption(QFileDialog::DontUseNativeDialog);
    chooser->setOption(QFileDialog::ShowDirsOnly, mode == QFileDialog::Directory);
    chooser->setFileMode(mode);
    chooser->setAcceptMode(accept);
    chooser->setViewMode(QFileDialog::Detail);
    chooser->show();
    return chooser;
}

void TestStandardTexts::aQuestionIsAnsweredWithSimOrNao()
{
    MessageBoxAnswerer answerer;
    answerer.expect(QMessageBox::Yes, [](const QMessageBox &box) {
        QCOMPARE(box.button(QMessageBox::Yes)->text(), QStringLiteral("&Sim"));
        QCOMPARE(box.button(QMessageBox::No)->text(), QStringLiteral("&Nao"));
    });
    QVERIFY(MessageBox::ask(nullptr, QStringLiteral("Titulo"), QStringLiteral("Texto")));
}

void TestStandardTexts::aWarningIsClosedWithOk()
{
    MessageBoxAnswerer answerer;
    answerer.expect(QMessageBox::Ok, [](const QMessageBox &box) {
        QCOMPARE(box.button(QMessageBox::Ok)->text(), QStringLiteral("OK"));
    });
    MessageBox::warning(nullptr, QStringLiteral("Titulo"), QStringLiteral("Texto"));
}

void TestStandardTexts::everyButtonOfABoxIsPortuguese_data()
{
    QTest::addColumn<QMessageBox::StandardButton>("button");
    QTest::addColumn<QString>("text");

    QTest::newRow("ok") << QMessageBox::Ok << QStringLiteral("OK");
    QTest::newRow("cancel") << QMessageBox::Cancel << QStringLiteral("Cancelar");
    QTest::newRow("yes") << QMessageBox::Yes << QStringLiteral("&Sim");
    QTest::newRow("yes to all") << QMessageBox::YesToAll << QStringLiteral("Sim para &todos");
    QTest::newRow("no") << QMessageBox::No << QStringLiteral("&Nao");
    QTest::newRow("no to all") << QMessageBox::NoToAll << QStringLiteral("Na&o para todos");
    QTest::newRow("open") << QMessageBox::Open << QStringLiteral("Abrir");
    QTest::newRow("save") << QMessageBox::Save << QStringLiteral("Salvar");
    QTest::newRow("save all") << QMessageBox::SaveAll << QStringLiteral("Salvar tudo");
    QTest::newRow("close") << QMessageBox::Close << QStringLiteral("Fechar");
    QTest::newRow("discard") << QMessageBox::Discard << QStringLiteral("Descartar");
    QTest::newRow("apply") << QMessageBox::Apply << QStringLiteral("Aplicar");
    QTest::newRow("reset") << QMessageBox::Reset << QStringLiteral("Redefinir");
    QTest::newRow("defaults") << QMessageBox::RestoreDefaults
                              << QStringLiteral("Restaurar padroes");
    QTest::newRow("help") << QMessageBox::Help << QStringLiteral("Ajuda");
    QTest::newRow("abort") << QMessageBox::Abort << QStringLiteral("Abortar");
    QTest::newRow("retry") << QMessageBox::Retry << QStringLiteral("Repetir");
    QTest::newRow("ignore") << QMessageBox::Ignore << QStringLiteral("Ignorar");
}

void TestStandardTexts::everyButtonOfABoxIsPortuguese()
{
    QFETCH(const QMessageBox::StandardButton, button);
    QFETCH(const QString, text);

    const QMessageBox box(QMessageBox::NoIcon, QString(), QString(), button);
    QCOMPARE(box.button(button)->text(), text);
}

void TestStandardTexts::noTwoButtonsOfAQuestionShareALetter()
{
    const QMessageBox box(QMessageBox::NoIcon, QString(), QString(),
                          QMessageBox::Yes | QMessageBox::YesToAll | QMessageBox::No |
                              QMessageBox::NoToAll);
    QStringList buttonTexts;
    for (const QAbstractButton *button : box.buttons()) {
        buttonTexts.append(button->text());
    }
    QCOMPARE(mnemonicsOf(buttonTexts).size(), 4);
    QVERIFY(!hasDoubles(mnemonicsOf(buttonTexts)));
}

void TestStandardTexts::aBoxOffersItsDetailsInPortuguese()
{
    QMessageBox box(QMessageBox::NoIcon, QString(), QString(), QMessageBox::Ok);
    box.setDetailedText(QStringLiteral("Texto"));
    const auto buttons = box.buttons();
    QCOMPARE(buttons.size(), 2);
    const auto details = std::find_if(buttons.begin(), buttons.end(), [&box](auto *button) {
        return box.buttonRole(button) == QMessageBox::ActionRole;
    });
    QVERIFY(details != buttons.end());
    QCOMPARE((*details)->text(), QStringLiteral("Mostrar detalhes..."));
    box.show();
    QTest::mouseClick(*details, Qt::LeftButton);
    QCOMPARE((*details)->text(), QStringLiteral("Ocultar detalhes..."));
}

void TestStandardTexts::aSettingsDialogHasOkAndCancelar()
{
    const QDialogButtonBox box(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    QCOMPARE(box.button(QDialogButtonBox::Ok)->text(), QStringLiteral("OK"));
    QCOMPARE(box.button(QDialogButtonBox::Cancel)->text(), QStringLiteral("Cancelar"));
}

void TestStandardTexts::theButtonsOfAGnomeDesktopArePortuguese_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("text");

    QTest::newRow("ok") << QStringLiteral("&OK") << QStringLiteral("&OK");
    QTest::newRow("cancel") << QStringLiteral("&Cancel") << QStringLiteral("&Cancelar");
    QTest::newRow("save") << QStringLiteral("&Save") << QStringLiteral("&Salvar");
    QTest::newRow("close") << QStringLiteral("&Close") << QStringLiteral("&Fechar");
    QTest::newRow("discard") << QStringLiteral("Close without Saving")
                             << QStringLiteral("Fechar sem salvar");
}

void TestStandardTexts::theButtonsOfAGnomeDesktopArePortuguese()
{
    QFETCH(const QString, source);
    QFETCH(const QString, text);

    // What that desktop's theme asks for; it cannot be had without its display.
    QCOMPARE(QCoreApplication::translate("QGnomeTheme", source.toLatin1().constData()), text);
}

void TestStandardTexts::aFileChooserIsPortuguese()
{
    const auto chooser = openChooser(QFileDialog::ExistingFile, QFileDialog::AcceptOpen);
    const auto labelText = [&chooser](const char *name) {
        return chooser->findChild<QLabel *>(QLatin1String(name))->text();
    };
    QCOMPARE(labelText("lookInLabel"), QStringLiteral("Examinar:"));
    QCOMPARE(labelText("fileNameLabel"), QStringLiteral("&Nome:"));
    QCOMPARE(labelText("fileTypeLabel"), QStringLiteral("Tipo:"));
    QCOMPARE(chooser->findChild<QComboBox *>(QStringLiteral("fileTypeCombo"))->currentText(),
             QStringLiteral("Todos (*)"));

    auto *box = chooser->findChild<QDialogButtonBox *>();
    QCOMPARE(box->button(QDialogButtonBox::Open)->text(), QStringLiteral("&Abrir"));
    QCOMPARE(box->button(QDialogButtonBox::Cancel)->text(), QStringLiteral("Cancelar"));

    const auto toolTip = [&chooser](const char *name) {
        return chooser->findChild<QToolButton *>(QLatin1String(name))->toolTip();
    };
    QCOMPARE(toolTip("backButton"), QStringLiteral("Voltar"));
    QCOMPARE(toolTip("forwardButton"), QStringLiteral("Avancar"));
    QCOMPARE(toolTip("toParentButton"), QStringLiteral("Pasta acima"));
    QCOMPARE(toolTip("newFolderButton"), QStringLiteral("Criar pasta"));
    QCOMPARE(toolTip("listModeButton"), QStringLiteral("Lista"));
    QCOMPARE(toolTip("detailModeButton"), QStringLiteral("Detalhes"));
    QCOMPARE(chooser->findChild<QListView *>(QStringLiteral("sidebar"))->accessibleName(),
             QStringLiteral("Lugares"));
    QCOMPARE(chooser->findChild<QTreeView *>(QStringLiteral("treeView"))->accessibleName(),
             QStringLiteral("Arquivos"));
}

void TestStandardTexts::aFolderChooserIsPortuguese()
{
    const auto chooser = openChooser(QFileDialog::Directory, QFileDialog::AcceptOpen);
    QCOMPARE(chooser->findChild<QLabel *>(QStringLiteral("fileNameLabel"))->text(),
             QStringLiteral("Pasta:"));
    QCOMPARE(chooser->findChild<QComboBox *>(QStringLiteral("fileTypeCombo"))->currentText(),
             QStringLiteral("Pastas"));
    QCOMPARE(chooser->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Open)->text(),
             QStringLiteral("&Escolher"));
}

void TestStandardTexts::aSaveChooserIsPortuguese()
{
    const auto chooser = openChooser(QFileDialog::AnyFile, QFileDialog::AcceptSave);
    QCOMPARE(chooser->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Save)->text(),
             QStringLiteral("&Salvar"));
}

void TestStandardTexts::theFileListIsPortuguese()
{
    const auto chooser = openChooser(QFileDialog::ExistingFile, QFileDialog::AcceptOpen);
    auto *view = chooser->findChild<QTreeView *>(QStringLiteral("treeView"));
    const QAbstractItemModel *model = view->model();
    QStringList titles;
    for (int column = 0; column < 4; ++column) {
        titles.append(model->headerData(column, Qt::Horizontal).toString());
    }
    QCOMPARE(titles, QStringList({QStringLiteral("Nome"), QStringLiteral("Tam."),
                                  QStringLiteral("Tipo"), QStringLiteral("Modificado")}));

    QTRY_COMPARE(model->rowCount(view->rootIndex()), 2);
    constexpr int typeColumn = 2;
    QTRY_COMPARE(model->index(0, typeColumn, view->rootIndex()).data().toString(),
                 QStringLiteral("Pasta"));
}

void TestStandardTexts::theFileListsMenuIsPortuguese()
{
    const auto chooser = openChooser(QFileDialog::ExistingFile, QFileDialog::AcceptOpen);
    auto *view = chooser->findChild<QTreeView *>(QStringLiteral("treeView"));
    QTRY_COMPARE(view->model()->rowCount(view->rootIndex()), 2);
    const QPoint entry = view->visualRect(view->model()->index(0, 0, view->rootIndex())).center();
    const QStringList menu = contextMenuTexts(view->viewport(), entry);
    QCOMPARE(menu, QStringList({QStringLiteral("&Renomear"), QStringLiteral("E&xcluir"),
                                QStringLiteral("Mostrar arquivos &ocultos"),
                                QStringLiteral("Nova &pasta")}));
    QVERIFY(!hasDoubles(mnemonicsOf(menu)));
}

void TestStandardTexts::aWrongFileNameIsToldInPortuguese()
{
    const auto chooser = openChooser(QFileDialog::ExistingFile, QFileDialog::AcceptOpen);
    MessageBoxAnswerer answerer;
    answerer.expect(QMessageBox::Ok);
    enterName(*chooser, QStringLiteral("x.y"));
    QTRY_VERIFY(answerer.isDone());
    QCOMPARE(answerer.last().text,
             QStringLiteral("x.y\nArquivo nao encontrado.\nVerifique o nome do arquivo."));
}

void TestStandardTexts::aWrongFolderNameIsToldInPortuguese()
{
    const auto chooser = openChooser(QFileDialog::Directory, QFileDialog::AcceptOpen);
    MessageBoxAnswerer answerer;
    answerer.expect(QMessageBox::Ok);
    enterName(*chooser, QStringLiteral("x.y"));
    QTRY_VERIFY(answerer.isDone());
    QCOMPARE(answerer.last().text,
             QStringLiteral("x.y\nPasta nao encontrada.\nVerifique o nome da pasta."));
}

void TestStandardTexts::anExistingFileIsAskedAboutInPortuguese()
{
    const auto chooser = openChooser(QFileDialog::AnyFile, QFileDialog::AcceptSave);
    MessageBoxAnswerer answerer;
    answerer.expect(QMessageBox::No);
    enterName(*chooser, QStringLiteral("ZEL.exe"));
    QTRY_VERIFY(answerer.isDone());
    QCOMPARE(answerer.last().text, QStringLiteral("ZEL.exe ja existe.\nDeseja substituir?"));
}

void TestStandardTexts::deletingAFileIsAskedAboutInPortuguese()
{
    const auto chooser = openChooser(QFileDialog::ExistingFile, QFileDialog::AcceptOpen);
    auto *view = chooser->findChild<QTreeView *>(QStringLiteral("treeView"));
    QTRY_COMPARE(view->model()->rowCount(view->rootIndex()), 2);
    const QModelIndexList found = view->model()->match(
        view->model()->index(0, 0, view->rootIndex()), Qt::DisplayRole, QStringLiteral("ZEL.exe"));
    QCOMPARE(found.size(), 1);
    view->setFocus();
    view->setCurrentIndex(found.first());

    MessageBoxAnswerer answerer;
    answerer.expect(QMessageBox::No);
    QTest::keyClick(view, Qt::Key_Delete);
    QTRY_VERIFY(answerer.isDone());
    QCOMPARE(answerer.last().text, QStringLiteral("Deseja excluir 'ZEL.exe'?"));
}

void TestStandardTexts::theMenuOfALineEditIsPortuguese()
{
    QLineEdit edit;
    edit.show();
    const QStringList menu = contextMenuTexts(&edit);
    QCOMPARE(menu, QStringList({QStringLiteral("&Desfazer"), QStringLiteral("&Refazer"),
                                QStringLiteral("Recor&tar"), QStringLiteral("&Copiar"),
                                QStringLiteral("Co&lar"), QStringLiteral("Excluir"),
                                QStringLiteral("Selecionar tudo")}));
    QVERIFY(!hasDoubles(mnemonicsOf(menu)));
}

void TestStandardTexts::theMenuOfATextEditIsPortuguese()
{
    QTextEdit edit;
    const std::unique_ptr<QMenu> menu(edit.createStandardContextMenu());
    QCOMPARE(textsOf(menu->actions()),
             QStringList({QStringLiteral("&Desfazer"), QStringLiteral("&Refazer"),
                          QStringLiteral("Recor&tar"), QStringLiteral("&Copiar"),
                          QStringLiteral("Co&lar"), QStringLiteral("Excluir"),
                          QStringLiteral("Selecionar tudo")}));
}

void TestStandardTexts::theMenuOfASpinBoxIsPortuguese()
{
    QSpinBox box;
    box.show();
    const QStringList menu = contextMenuTexts(&box);
    QCOMPARE(menu, QStringList({QStringLiteral("&Desfazer"), QStringLiteral("&Refazer"),
                                QStringLiteral("Recor&tar"), QStringLiteral("&Copiar"),
                                QStringLiteral("Co&lar"), QStringLiteral("Excluir"),
                                QStringLiteral("&Selecionar tudo"), QStringLiteral("&Aumentar"),
                                QStringLiteral("Di&minuir")}));
    QVERIFY(!hasDoubles(mnemonicsOf(menu)));
}

void TestStandardTexts::theMenuOfAScrollBarIsPortuguese_data()
{
    QTest::addColumn<Qt::Orientation>("orientation");
    QTest::addColumn<QStringList>("menu");

    QTest::newRow("vertical") << Qt::Vertical
                              << QStringList({QStringLiteral("Rolar ate aqui"),
                                              QStringLiteral("Inicio"), QStringLiteral("Fim"),
                                              QStringLiteral("Pagina acima"),
                                              QStringLiteral("Pagina abaixo"),
                                              QStringLiteral("Rolar para cima"),
                                              QStringLiteral("Rolar para baixo")});
    QTest::newRow("horizontal")
        << Qt::Horizontal
        << QStringList({QStringLiteral("Rolar ate aqui"), QStringLiteral("Borda esquerda"),
                        QStringLiteral("Borda direita"), QStringLiteral("Pagina a esquerda"),
                        QStringLiteral("Pagina a direita"), QStringLiteral("Rolar para a esquerda"),
                        QStringLiteral("Rolar para a direita")});
}

void TestStandardTexts::theMenuOfAScrollBarIsPortuguese()
{
    QFETCH(const Qt::Orientation, orientation);
    QFETCH(const QStringList, menu);

    QScrollBar bar(orientation);
    bar.resize(100, 100);
    bar.show();
    QCOMPARE(contextMenuTexts(&bar), menu);
}

void TestStandardTexts::aTextOfARareMomentIsPortuguese_data()
{
    QTest::addColumn<QByteArray>("context");
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QString>("text");

    const auto addRow = [](const char *context, const char *source, const char *text) {
        QTest::addRow("%s: %s", context, source)
            << QByteArray(context) << QByteArray(source) << QString::fromUtf8(text);
    };
    addRow("QDialogButtonBox", "OK", "OK");
    addRow("QFileDialog", "Open", "Abrir");
    addRow("QFileDialog", "Save As", "Salvar como");
    addRow("QFileDialog", "Find Directory", "Procurar pasta");
    addRow("QFileDialog", "All files (*)", "Todos (*)");
    addRow("QFileDialog", "Recent Places", "Lugares recentes");
    addRow("QFileDialog", "Show ", "Mostrar ");
    addRow("QFileDialog", "New Folder", "Nova pasta");
    addRow("QFileDialog", "Delete", "Excluir");
    addRow("QFileDialog", "Remove", "Remover");
    addRow("QFileDialog", "Could not delete directory.", "Nao foi possivel excluir a pasta.");
    addRow("QFileDialog", "'%1' is write protected.\nDo you want to delete it anyway?",
           "'%1' esta protegido contra gravacao.\nDeseja excluir mesmo assim?");
    addRow("QFileSystemModel", "Computer", "Computador");
    addRow("QFileSystemModel", "My Computer", "Meu computador");
    addRow("QAbstractFileIconProvider", "Drive", "Unidade");
    addRow("QAbstractFileIconProvider", "File", "Arquivo");
    addRow("QAbstractFileIconProvider", "Shortcut", "Atalho");
    addRow("QAbstractFileIconProvider", "Unknown", "Desconhecido");
    addRow("QWidgetTextControl", "Copy &Link Location", "Copiar &endereco do link");
}

void TestStandardTexts::aTextOfARareMomentIsPortuguese()
{
    QFETCH(const QByteArray, context);
    QFETCH(const QByteArray, source);
    QFETCH(const QString, text);

    QCOMPARE(QCoreApplication::translate(context.constData(), source.constData()), text);
    // A hint for translators changes nothing.
    QCOMPARE(QCoreApplication::translate(context.constData(), source.constData(), "hint"), text);
}

void TestStandardTexts::nothingIsLeftInEnglish()
{
    texts->forget();
    for (const auto mode : {QFileDialog::ExistingFile, QFileDialog::Directory}) {
        const auto chooser = openChooser(mode, QFileDialog::AcceptOpen);
        auto *view = chooser->findChild<QTreeView *>(QStringLiteral("treeView"));
        QTRY_VERIFY(view->model()->rowCount(view->rootIndex()) > 0);
        contextMenuTexts(view->viewport());
        contextMenuTexts(chooser->findChild<QLineEdit *>(QStringLiteral("fileNameEdit")));
    }
    {
        const auto chooser = openChooser(QFileDialog::AnyFile, QFileDialog::AcceptSave);
        QVERIFY(QTest::qWaitForWindowExposed(chooser.get()));
    }
    QSpinBox spinBox;
    spinBox.show();
    contextMenuTexts(&spinBox);
    QTextEdit textEdit;
    const std::unique_ptr<QMenu> textMenu(textEdit.createStandardContextMenu());
    const QMessageBox box(QMessageBox::NoIcon, QString(), QString(),
                          QMessageBox::Ok | QMessageBox::Cancel | QMessageBox::Yes |
                              QMessageBox::No);

    QStringList english;
    const QSet<QString> left = texts->leftTexts();
    for (const QString &text : left) {
        // The names of keys, the direction of reading, and files that could not be looked into,
        // of which the chooser says nothing.
        const bool isUnseen = text.startsWith(QLatin1String("QShortcut|")) ||
                              text.startsWith(QLatin1String("QFileDialog|Alt+")) ||
                              text == QLatin1String("QGuiApplication|QT_LAYOUT_DIRECTION") ||
                              text.startsWith(QLatin1String("QIODevice|"));
        if (!isUnseen) {
            english.append(text);
        }
    }
    QCOMPARE(english.join(u'\n'), QString());
}

void TestStandardTexts::otherTextsStayOnPurpose_data()
{
    QTest::addColumn<QByteArray>("context");
    QTest::addColumn<QByteArray>("source");

    const auto addRow = [](const char *context, const char *source) {
        QTest::addRow("%s: %s", context, source) << QByteArray(context) << QByteArray(source);
    };
    addRow("QHttp", "Connection refused");
    addRow("QHttp", "Host %1 not found");
    addRow("QNetworkReply", "Network access is disabled.");
    addRow("QAbstractSocket", "Host not found");
    addRow("QAbstractSocket", "Connection refused");
    addRow("QNativeSocketEngine", "Connection refused");
    addRow("QSslSocket", "No error");
    addRow("QProcess", "Process crashed");
    addRow("QFile", "No such file or directory");
    addRow("QSaveFile", "Filename refers to a directory");
    addRow("QJsonParseError", "unterminated object");
    addRow("QShortcut", "Ctrl");
    addRow("QGuiApplication", "QT_LAYOUT_DIRECTION");
    addRow("QFileDialog", "Alt+Left");
    addRow("QFileDialog", "open");
    addRow("QFileDialogs", "Open");
    addRow("MainWindow", "Open");
    addRow("", "Open");
    addRow("QFileDialog", "");
}

void TestStandardTexts::otherTextsStayOnPurpose()
{
    QFETCH(const QByteArray, context);
    QFETCH(const QByteArray, source);

    QVERIFY(texts->translate(context.constData(), source.constData(), nullptr, -1).isNull());
    QCOMPARE(QCoreApplication::translate(context.constData(), source.constData()),
             QString::fromLatin1(source));
}

void TestStandardTexts::aNetworkErrorKeepsItsTextOnPurpose()
{
    quint16 freePort = 0;
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        freePort = server.serverPort();
    }
    const QNetworkRequest request(QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(freePort)));
    const auto errorText = [&request] {
        QNetworkAccessManager network;
        const std::unique_ptr<QNetworkReply> reply(network.get(request));
        QSignalSpy finished(reply.get(), &QNetworkReply::finished);
        return finished.wait() ? reply->errorString() : QString();
    };
    const QString text = errorText();
    QCOMPARE(text, QStringLiteral("Connection refused"));
    texts.reset();
    QCOMPARE(errorText(), text);
}

void TestStandardTexts::missingNamesAreHarmless()
{
    QVERIFY(texts->translate(nullptr, "Open", nullptr, -1).isNull());
    QVERIFY(texts->translate("QFileDialog", nullptr, nullptr, -1).isNull());
    QVERIFY(!texts->isEmpty());
}

void TestStandardTexts::withoutTheTextsQtSpeaksForItself()
{
    texts.reset();
    const QMessageBox box(QMessageBox::NoIcon, QString(), QString(), QMessageBox::Yes);
    QCOMPARE(box.button(QMessageBox::Yes)->text(), QStringLiteral("&Yes"));
}

ZEL_GUI_TEST_MAIN(TestStandardTexts)

#include "tst_standardtexts.moc"
