#include "support/TestMain.h"

#include "support/windows/MessageBoxAnswerer.h"
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
#include <QToolButton>
#include <QTreeView>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

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
    auto *edit = chooser.findChild<QLineEdit *>(u"fileNameEdit"_s);
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

    void aFileChooserIsPortuguese();
    void aFolderChooserIsPortuguese();
    void theFileListIsPortuguese();
    void theFileListsMenuIsPortuguese();
    void theWarningOfAWrongFileNameIsPortuguese();
    void theWarningOfAWrongFolderNameIsPortuguese();
    void theQuestionBeforeADeletionIsPortuguese();

    void theMenuOfALineEditIsPortuguese();
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

private:
    std::unique_ptr<QFileDialog> openChooser(QFileDialog::FileMode mode);

    std::unique_ptr<ListingTexts> texts;
    std::unique_ptr<QTemporaryDir> folder;
};

void TestStandardTexts::init()
{
    TestBase::init();
    texts = std::make_unique<ListingTexts>();
    QVERIFY(QCoreApplication::installTranslator(texts.get()));
    folder = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir(folder->path()).mkdir(u"sub"_s));
    QFile file(folder->filePath(u"ZEL.exe"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
}

void TestStandardTexts::cleanup()
{
    QCOMPARE(texts ? texts->accentedTexts() : QSet<QString>(), QSet<QString>());
    texts.reset();
    folder.reset();
}

std::unique_ptr<QFileDialog> TestStandardTexts::openChooser(QFileDialog::FileMode mode)
{
    auto chooser = std::make_unique<QFileDialog>(nullptr, u"Titulo"_s, folder->path());
    chooser->setOption(QFileDialog::DontUseNativeDialog);
    chooser->setOption(QFileDialog::ShowDirsOnly, mode == QFileDialog::Directory);
    chooser->setFileMode(mode);
    chooser->setViewMode(QFileDialog::Detail);
    chooser->show();
    return chooser;
}

void TestStandardTexts::aFileChooserIsPortuguese()
{
    const auto chooser = openChooser(QFileDialog::ExistingFile);
    const auto labelText = [&chooser](const char *name) {
        return chooser->findChild<QLabel *>(QLatin1String(name))->text();
    };
    QCOMPARE(labelText("lookInLabel"), u"Examinar:"_s);
    QCOMPARE(labelText("fileNameLabel"), u"&Nome:"_s);
    QCOMPARE(labelText("fileTypeLabel"), u"Tipo:"_s);

    auto *box = chooser->findChild<QDialogButtonBox *>();
    QCOMPARE(box->button(QDialogButtonBox::Open)->text(), u"&Abrir"_s);

    const auto toolTip = [&chooser](const char *name) {
        return chooser->findChild<QToolButton *>(QLatin1String(name))->toolTip();
    };
    QCOMPARE(toolTip("backButton"), u"Voltar"_s);
    QCOMPARE(toolTip("forwardButton"), u"Avancar"_s);
    QCOMPARE(toolTip("toParentButton"), u"Pasta acima"_s);
    QCOMPARE(toolTip("newFolderButton"), u"Criar pasta"_s);
    QCOMPARE(toolTip("listModeButton"), u"Lista"_s);
    QCOMPARE(toolTip("detailModeButton"), u"Detalhes"_s);
    QCOMPARE(chooser->findChild<QListView *>(u"sidebar"_s)->accessibleName(), u"Lugares"_s);
    QCOMPARE(chooser->findChild<QTreeView *>(u"treeView"_s)->accessibleName(), u"Arquivos"_s);
}

void TestStandardTexts::aFolderChooserIsPortuguese()
{
    const auto chooser = openChooser(QFileDialog::Directory);
    QCOMPARE(chooser->findChild<QLabel *>(u"fileNameLabel"_s)->text(), u"Pasta:"_s);
    QCOMPARE(chooser->findChild<QComboBox *>(u"fileTypeCombo"_s)->currentText(), u"Pastas"_s);
    QCOMPARE(chooser->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Open)->text(),
             u"&Escolher"_s);
}

void TestStandardTexts::theFileListIsPortuguese()
{
    const auto chooser = openChooser(QFileDialog::ExistingFile);
    auto *view = chooser->findChild<QTreeView *>(u"treeView"_s);
    const QAbstractItemModel *model = view->model();
    QStringList titles;
    for (int column = 0; column < 4; ++column) {
        titles.append(model->headerData(column, Qt::Horizontal).toString());
    }
    QCOMPARE(titles, QStringList({u"Nome"_s, u"Tam."_s, u"Tipo"_s, u"Modificado"_s}));

    QTRY_COMPARE(model->rowCount(view->rootIndex()), 2);
    constexpr int typeColumn = 2;
    QTRY_COMPARE(model->index(0, typeColumn, view->rootIndex()).data().toString(), u"Pasta"_s);
}

void TestStandardTexts::theFileListsMenuIsPortuguese()
{
    const auto chooser = openChooser(QFileDialog::ExistingFile);
    auto *view = chooser->findChild<QTreeView *>(u"treeView"_s);
    QTRY_COMPARE(view->model()->rowCount(view->rootIndex()), 2);
    const QPoint entry = view->visualRect(view->model()->index(0, 0, view->rootIndex())).center();
    const QStringList menu = contextMenuTexts(view->viewport(), entry);
    QCOMPARE(menu, QStringList({u"&Renomear"_s, u"E&xcluir"_s, u"Mostrar arquivos &ocultos"_s,
                                u"Nova &pasta"_s}));
    QVERIFY(!hasDoubles(mnemonicsOf(menu)));
}

void TestStandardTexts::theWarningOfAWrongFileNameIsPortuguese()
{
    const auto chooser = openChooser(QFileDialog::ExistingFile);
    MessageBoxAnswerer answerer;
    answerer.expect(QMessageBox::Ok);
    enterName(*chooser, u"x.y"_s);
    QTRY_VERIFY(answerer.isDone());
    QCOMPARE(answerer.last().text, u"x.y\nArquivo nao encontrado.\nVerifique o nome do arquivo."_s);
}

void TestStandardTexts::theWarningOfAWrongFolderNameIsPortuguese()
{
    const auto chooser = openChooser(QFileDialog::Directory);
    MessageBoxAnswerer answerer;
    answerer.expect(QMessageBox::Ok);
    enterName(*chooser, u"x.y"_s);
    QTRY_VERIFY(answerer.isDone());
    QCOMPARE(answerer.last().text, u"x.y\nPasta nao encontrada.\nVerifique o nome da pasta."_s);
}

void TestStandardTexts::theQuestionBeforeADeletionIsPortuguese()
{
    const auto chooser = openChooser(QFileDialog::ExistingFile);
    auto *view = chooser->findChild<QTreeView *>(u"treeView"_s);
    QTRY_COMPARE(view->model()->rowCount(view->rootIndex()), 2);
    const QModelIndexList found = view->model()->match(
        view->model()->index(0, 0, view->rootIndex()), Qt::DisplayRole, u"ZEL.exe"_s);
    QCOMPARE(found.size(), 1);
    view->setFocus();
    view->setCurrentIndex(found.first());

    MessageBoxAnswerer answerer;
    answerer.expect(QMessageBox::No);
    QTest::keyClick(view, Qt::Key_Delete);
    QTRY_VERIFY(answerer.isDone());
    QCOMPARE(answerer.last().text, u"Deseja excluir 'ZEL.exe'?"_s);
}

void TestStandardTexts::theMenuOfALineEditIsPortuguese()
{
    QLineEdit edit;
    edit.show();
    const QStringList menu = contextMenuTexts(&edit);
    QCOMPARE(menu, QStringList({u"&Desfazer"_s, u"&Refazer"_s, u"Recor&tar"_s, u"&Copiar"_s,
                                u"Co&lar"_s, u"Excluir"_s, u"Selecionar tudo"_s}));
    QVERIFY(!hasDoubles(mnemonicsOf(menu)));
}

void TestStandardTexts::theMenuOfASpinBoxIsPortuguese()
{
    QSpinBox box;
    box.show();
    const QStringList menu = contextMenuTexts(&box);
    QCOMPARE(menu,
             QStringList({u"&Desfazer"_s, u"&Refazer"_s, u"Recor&tar"_s, u"&Copiar"_s, u"Co&lar"_s,
                          u"Excluir"_s, u"&Selecionar tudo"_s, u"&Aumentar"_s, u"Di&minuir"_s}));
    QVERIFY(!hasDoubles(mnemonicsOf(menu)));
}

void TestStandardTexts::theMenuOfAScrollBarIsPortuguese_data()
{
    QTest::addColumn<Qt::Orientation>("orientation");
    QTest::addColumn<QStringList>("menu");

    QTest::newRow("vertical") << Qt::Vertical
                              << QStringList({u"Rolar ate aqui"_s, u"Inicio"_s, u"Fim"_s,
                                              u"Pagina acima"_s, u"Pagina abaixo"_s,
                                              u"Rolar para cima"_s, u"Rolar para baixo"_s});
    QTest::newRow("horizontal") << Qt::Horizontal
                                << QStringList({u"Rolar ate aqui"_s, u"Borda esquerda"_s,
                                                u"Borda direita"_s, u"Pagina a esquerda"_s,
                                                u"Pagina a direita"_s, u"Rolar para a esquerda"_s,
                                                u"Rolar para a direita"_s});
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
    addRow("QFileDialog", "Recent Places", "Lugares recentes");
    addRow("QFileDialog", "Show ", "Mostrar ");
    addRow("QFileDialog", "New Folder", "Nova pasta");
    addRow("QFileDialog", "Delete", "Excluir");
    addRow("QFileDialog", "Remove", "Remover");
    addRow("QFileDialog", "Could not delete directory.", "Nao foi possivel excluir a pasta.");
    addRow("QFileDialog", "'%1' is write protected.\nDo you want to delete it anyway?",
           "'%1' esta protegido contra gravacao.\nDeseja excluir mesmo assim?");
    addRow("QFileSystemModel", "Computer", "Computador");
    addRow("QAbstractFileIconProvider", "Drive", "Unidade");
    addRow("QAbstractFileIconProvider", "Shortcut", "Atalho");
    addRow("QAbstractFileIconProvider", "Unknown", "Desconhecido");
    addRow("QWidgetTextControl", "&Copy", "&Copiar");
    addRow("QWidgetTextControl", "Copy &Link Location", "Copiar &endereco do link");
    addRow("QWidgetTextControl", "Select All", "Selecionar tudo");
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
        const auto chooser = openChooser(mode);
        auto *view = chooser->findChild<QTreeView *>(u"treeView"_s);
        QTRY_VERIFY(view->model()->rowCount(view->rootIndex()) > 0);
        contextMenuTexts(view->viewport());
        contextMenuTexts(chooser->findChild<QLineEdit *>(u"fileNameEdit"_s));
    }
    QSpinBox spinBox;
    spinBox.show();
    contextMenuTexts(&spinBox);

    QStringList english;
    const QSet<QString> left = texts->leftTexts();
    for (const QString &text : left) {
        // Names of keys, texts that a chooser replaces before it shows them, and errors that it
        // does not show. StandardLook names the buttons.
        const bool isUnseen = text.startsWith(QLatin1String("QPlatformTheme|")) ||
                              text == QLatin1String("QFileDialog|All Files (*)") ||
                              text.startsWith(QLatin1String("QShortcut|")) ||
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
    addRow("QFileDialogs", "Back");
    addRow("MainWindow", "Back");
    addRow("", "Back");
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
    const QNetworkRequest request(QUrl(u"http://127.0.0.1:%1/"_s.arg(freePort)));
    const auto errorText = [&request] {
        QNetworkAccessManager network;
        const std::unique_ptr<QNetworkReply> reply(network.get(request));
        QSignalSpy finished(reply.get(), &QNetworkReply::finished);
        return finished.wait() ? reply->errorString() : QString();
    };
    const QString text = errorText();
    QCOMPARE(text, u"Connection refused"_s);
    texts.reset();
    QCOMPARE(errorText(), text);
}

void TestStandardTexts::missingNamesAreHarmless()
{
    QVERIFY(texts->translate(nullptr, "Back", nullptr, -1).isNull());
    QVERIFY(texts->translate("QFileDialog", nullptr, nullptr, -1).isNull());
    QVERIFY(!texts->isEmpty());
}

ZEL_GUI_TEST_MAIN(TestStandardTexts)

#include "tst_standardtexts.moc"
