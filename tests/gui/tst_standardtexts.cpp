#include "support/TestMain.h"

#include "support/files/Disk.h"
#include "support/windows/MessageBoxAnswerer.h"
#include "ui/StandardTexts.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMutex>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QScrollBar>
#include <QSpinBox>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTreeView>

#include <memory>

using namespace Qt::StringLiterals;

namespace
{

/// StandardTexts that records all requests. The file dialog also translates from its own thread.
class ListingTexts : public StandardTexts
{
public:
    QString translate(const char *context, const char *sourceText, const char *disambiguation,
                      int n) const override
    {
        const QString text = StandardTexts::translate(context, sourceText, disambiguation, n);
        const QMutexLocker locker(&mutex);
        asked.insert(QLatin1StringView(context) + u'|' + QLatin1StringView(sourceText), text);
        return text;
    }

    /// The translations by "context|source".
    QMap<QString, QString> answers() const
    {
        const QMutexLocker locker(&mutex);
        return asked;
    }

private:
    mutable QMutex mutex;
    mutable QMap<QString, QString> asked;
};

/// Opens the context menu of @p widget like a right click, and checks that its mnemonics differ.
void openContextMenu(QWidget *widget, const QPoint &point = {3, 3})
{
    bool isOpened = false;
    QObject context;
    const auto look = [&isOpened] {
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        QVERIFY(menu != nullptr);
        QStringList mnemonics;
        for (const QAction *action : menu->actions()) {
            if (action->text().contains(u'&')) {
                mnemonics.append(action->text().section(u'&', 1).first(1).toLower());
            }
        }
        QCOMPARE(mnemonics.removeDuplicates(), 0);
        menu->close();
        isOpened = true;
    };
    QMetaObject::invokeMethod(&context, look, Qt::QueuedConnection);
    QContextMenuEvent event(QContextMenuEvent::Mouse, point, widget->mapToGlobal(point));
    QApplication::sendEvent(widget, &event);
    QTRY_VERIFY(isOpened);
}

} // namespace

class TestStandardTexts : public TestBase
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void aTextIsPortuguese_data();
    void aTextIsPortuguese();
    void aChooserShowsNoOtherText_data();
    void aChooserShowsNoOtherText();
    void aDeletionIsConfirmedInPortuguese();
    void aContextMenuShowsNoOtherText();
    void otherTextsAreNotTranslatedOnPurpose_data();
    void otherTextsAreNotTranslatedOnPurpose();
    void aNetworkErrorIsNotTranslatedOnPurpose();
    void nullTextsAreNotTranslated();

private:
    /// The texts that were requested, are not translated, and are shown.
    QStringList english() const;
    std::unique_ptr<QFileDialog> openChooser(QFileDialog::FileMode mode);
    /// The only entry of the chooser's list.
    QModelIndex entry() const { return list->model()->index(0, 0, list->rootIndex()); }

    std::unique_ptr<ListingTexts> texts;
    QTemporaryDir folder;
    QTreeView *list = nullptr;
};

void TestStandardTexts::init()
{
    TestBase::init();
    texts = std::make_unique<ListingTexts>();
    QVERIFY(QCoreApplication::installTranslator(texts.get()));
}

void TestStandardTexts::cleanup()
{
    texts.reset();
}

QStringList TestStandardTexts::english() const
{
    // Names of keys, texts that the file dialog replaces before it shows them, and errors that it
    // does not show. StandardLook sets the texts of buttons.
    static const QRegularExpression unseen(
        uR"(^(QPlatformTheme\||QShortcut\||QIODevice\||QFileDialog\|Alt\+))"
        uR"(|^(QFileDialog\|All Files \(\*\)|QGuiApplication\|QT_LAYOUT_DIRECTION)$)"_s);
    QStringList english = texts->answers().keys(QString());
    english.removeIf([](const QString &text) { return text.contains(unseen); });
    return english;
}

std::unique_ptr<QFileDialog> TestStandardTexts::openChooser(QFileDialog::FileMode mode)
{
    Disk::makeFolder(folder.filePath(u"sub"_s));
    auto chooser = std::make_unique<QFileDialog>(nullptr, u"Titulo"_s, folder.path());
    chooser->setOption(QFileDialog::DontUseNativeDialog);
    chooser->setOption(QFileDialog::ShowDirsOnly, mode == QFileDialog::Directory);
    chooser->setFileMode(mode);
    chooser->setViewMode(QFileDialog::Detail);
    chooser->show();
    list = chooser->findChild<QTreeView *>(u"treeView"_s);
    return chooser;
}

void TestStandardTexts::aTextIsPortuguese_data()
{
    QTest::addColumn<QByteArray>("context");
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QString>("text");

    const auto add = [](const char *context, const char *source, const QString &text) {
        QTest::addRow("%s: %s", context, source)
            << QByteArray(context) << QByteArray(source) << text;
    };
    add("QFileDialog", "Look in:", u"Examinar:"_s);
    add("QFileDialog", "File &name:", u"&Nome:"_s);
    add("QFileDialog", "Directory:", u"Pasta:"_s);
    add("QFileDialog", "Files of type:", u"Tipo:"_s);
    add("QFileDialog", "&Open", u"&Abrir"_s);
    add("QFileDialog", "&Choose", u"&Escolher"_s);
    add("QFileDialog", "Directories", u"Pastas"_s);
    add("QFileDialog", "Files", u"Arquivos"_s);
    add("QFileDialog", "Sidebar", u"Lugares"_s);
    add("QFileDialog", "List of places and bookmarks", u"Lista de lugares e favoritos"_s);
    add("QFileDialog", "Recent Places", u"Lugares recentes"_s);
    add("QFileDialog", "Back", u"Voltar"_s);
    add("QFileDialog", "Go back", u"Voltar"_s);
    add("QFileDialog", "Forward", u"Avancar"_s);
    add("QFileDialog", "Go forward", u"Avancar"_s);
    add("QFileDialog", "Parent Directory", u"Pasta acima"_s);
    add("QFileDialog", "Go to the parent directory", u"Ir para a pasta acima"_s);
    add("QFileDialog", "Create New Folder", u"Criar pasta"_s);
    add("QFileDialog", "Create a New Folder", u"Criar uma pasta"_s);
    add("QFileDialog", "List View", u"Lista"_s);
    add("QFileDialog", "Change to list view mode", u"Mostrar como lista"_s);
    add("QFileDialog", "Detail View", u"Detalhes"_s);
    add("QFileDialog", "Change to detail view mode", u"Mostrar os detalhes"_s);
    add("QFileDialog", "Show ", u"Mostrar "_s);
    add("QFileDialog", "Show &hidden files", u"Mostrar arquivos &ocultos"_s);
    add("QFileDialog", "&New Folder", u"Nova &pasta"_s);
    add("QFileDialog", "New Folder", u"Nova pasta"_s);
    add("QFileDialog", "&Rename", u"&Renomear"_s);
    add("QFileDialog", "&Delete", u"E&xcluir"_s);
    add("QFileDialog", "Delete", u"Excluir"_s);
    add("QFileDialog", "Remove", u"Remover"_s);
    add("QFileDialog", "%1\nFile not found.\nPlease verify the correct file name was given.",
        u"%1\nArquivo nao encontrado.\nVerifique o nome do arquivo."_s);
    add("QFileDialog",
        "%1\nDirectory not found.\nPlease verify the correct directory name was given.",
        u"%1\nPasta nao encontrada.\nVerifique o nome da pasta."_s);
    add("QFileDialog", "'%1' is write protected.\nDo you want to delete it anyway?",
        u"'%1' esta protegido contra gravacao.\nDeseja excluir mesmo assim?"_s);
    add("QFileDialog", "Are you sure you want to delete '%1'?", u"Deseja excluir '%1'?"_s);
    add("QFileDialog", "Could not delete directory.", u"Nao foi possivel excluir a pasta."_s);
    add("QFileSystemModel", "Computer", u"Computador"_s);
    add("QFileSystemModel", "Name", u"Nome"_s);
    add("QFileSystemModel", "Size", u"Tam."_s);
    add("QFileSystemModel", "Type", u"Tipo"_s);
    add("QFileSystemModel", "Date Modified", u"Modificado"_s);
    add("QAbstractFileIconProvider", "Drive", u"Unidade"_s);
    add("QAbstractFileIconProvider", "Folder", u"Pasta"_s);
    add("QAbstractFileIconProvider", "Shortcut", u"Atalho"_s);
    add("QAbstractFileIconProvider", "Unknown", u"Desconhecido"_s);
    add("QLineEdit", "&Undo", u"&Desfazer"_s);
    add("QLineEdit", "&Redo", u"&Refazer"_s);
    add("QLineEdit", "Cu&t", u"Recor&tar"_s);
    add("QLineEdit", "&Copy", u"&Copiar"_s);
    add("QLineEdit", "&Paste", u"Co&lar"_s);
    add("QLineEdit", "Delete", u"Excluir"_s);
    add("QLineEdit", "Select All", u"Selecionar tudo"_s);
    add("QWidgetTextControl", "&Copy", u"&Copiar"_s);
    add("QWidgetTextControl", "Copy &Link Location", u"Copiar &endereco do link"_s);
    add("QWidgetTextControl", "Select All", u"Selecionar tudo"_s);
    add("QAbstractSpinBox", "&Select All", u"&Selecionar tudo"_s);
    add("QAbstractSpinBox", "&Step up", u"&Aumentar"_s);
    add("QAbstractSpinBox", "Step &down", u"Di&minuir"_s);
    add("QScrollBar", "Scroll here", u"Rolar ate aqui"_s);
    add("QScrollBar", "Top", u"Inicio"_s);
    add("QScrollBar", "Bottom", u"Fim"_s);
    add("QScrollBar", "Left edge", u"Borda esquerda"_s);
    add("QScrollBar", "Right edge", u"Borda direita"_s);
    add("QScrollBar", "Page up", u"Pagina acima"_s);
    add("QScrollBar", "Page down", u"Pagina abaixo"_s);
    add("QScrollBar", "Page left", u"Pagina a esquerda"_s);
    add("QScrollBar", "Page right", u"Pagina a direita"_s);
    add("QScrollBar", "Scroll up", u"Rolar para cima"_s);
    add("QScrollBar", "Scroll down", u"Rolar para baixo"_s);
    add("QScrollBar", "Scroll left", u"Rolar para a esquerda"_s);
    add("QScrollBar", "Scroll right", u"Rolar para a direita"_s);
}

void TestStandardTexts::aTextIsPortuguese()
{
    QFETCH(const QByteArray, context);
    QFETCH(const QByteArray, source);
    QFETCH(const QString, text);
    QCOMPARE(QCoreApplication::translate(context.constData(), source.constData()), text);
    // A disambiguation is ignored.
    QCOMPARE(QCoreApplication::translate(context.constData(), source.constData(), "hint"), text);
}

void TestStandardTexts::aChooserShowsNoOtherText_data()
{
    QTest::addColumn<QFileDialog::FileMode>("mode");
    QTest::newRow("file") << QFileDialog::ExistingFile;
    QTest::newRow("folder") << QFileDialog::Directory;
}

void TestStandardTexts::aChooserShowsNoOtherText()
{
    QFETCH(const QFileDialog::FileMode, mode);
    const auto chooser = openChooser(mode);
    QTRY_COMPARE(entry().siblingAtColumn(2).data().toString(), u"Pasta"_s);
    MessageBoxAnswerer answerer;
    answerer.expect(QMessageBox::Ok);
    auto *edit = chooser->findChild<QLineEdit *>(u"fileNameEdit"_s);
    edit->setFocus();
    edit->clear();
    QTest::keyClicks(edit, u"x.y"_s);
    QTest::keyClick(edit, Qt::Key_Return);
    QTRY_VERIFY(answerer.isDone());
    QVERIFY(answerer.last().text.startsWith(u"x.y\n"));

    openContextMenu(list->viewport(), list->visualRect(entry()).center());
    openContextMenu(edit);
    QCOMPARE(english(), QStringList());
}

void TestStandardTexts::aDeletionIsConfirmedInPortuguese()
{
    const auto chooser = openChooser(QFileDialog::ExistingFile);
    QTRY_VERIFY(entry().isValid());
    MessageBoxAnswerer answerer;
    answerer.expect(QMessageBox::No);
    list->setFocus();
    list->setCurrentIndex(entry());
    QVERIFY(QTest::qWaitForWindowActive(chooser.get())); // shortcuts need an active window
    QTest::keyClick(list, Qt::Key_Delete);
    QTRY_VERIFY(answerer.isDone());
    QCOMPARE(answerer.last().text, u"Deseja excluir 'sub'?"_s);
    QCOMPARE(english(), QStringList());
}

void TestStandardTexts::aContextMenuShowsNoOtherText()
{
    QLineEdit edit;
    QSpinBox spinBox;
    QScrollBar vertical(Qt::Vertical);
    QScrollBar horizontal(Qt::Horizontal);
    for (QWidget *widget :
         std::initializer_list<QWidget *>{&edit, &spinBox, &vertical, &horizontal}) {
        widget->resize(100, 100);
        widget->show();
        openContextMenu(widget);
    }
    QCOMPARE_GE(texts->answers().size(), 7 + 3 + 7 + 6);
    QCOMPARE(english(), QStringList());
}

void TestStandardTexts::otherTextsAreNotTranslatedOnPurpose_data()
{
    QTest::addColumn<QByteArray>("context");
    QTest::addColumn<QByteArray>("source");

    const auto add = [](const char *context, const char *source) {
        QTest::addRow("%s: %s", context, source) << QByteArray(context) << QByteArray(source);
    };
    add("QHttp", "Connection refused");
    add("QHttp", "Host %1 not found");
    add("QNetworkReply", "Network access is disabled.");
    add("QAbstractSocket", "Host not found");
    add("QAbstractSocket", "Connection refused");
    add("QNativeSocketEngine", "Connection refused");
    add("QSslSocket", "No error");
    add("QProcess", "Process crashed");
    add("QFile", "No such file or directory");
    add("QSaveFile", "Filename refers to a directory");
    add("QJsonParseError", "unterminated object");
    add("QShortcut", "Ctrl");
    add("QGuiApplication", "QT_LAYOUT_DIRECTION");
    add("QFileDialog", "Alt+Left");
    add("QFileDialog", "open");
    add("QFileDialogs", "Back");
    add("MainWindow", "Back");
    add("", "Back");
    add("QFileDialog", "");
}

void TestStandardTexts::otherTextsAreNotTranslatedOnPurpose()
{
    QFETCH(const QByteArray, context);
    QFETCH(const QByteArray, source);
    QVERIFY(texts->translate(context.constData(), source.constData(), nullptr, -1).isNull());
    QCOMPARE(QCoreApplication::translate(context.constData(), source.constData()),
             QString::fromLatin1(source));
}

void TestStandardTexts::aNetworkErrorIsNotTranslatedOnPurpose()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    const QNetworkRequest request(QUrl(u"http://127.0.0.1:%1/"_s.arg(server.serverPort())));
    server.close();
    QNetworkAccessManager network;
    const std::unique_ptr<QNetworkReply> reply(network.get(request));
    QTRY_VERIFY(reply->isFinished());
    QCOMPARE(reply->errorString(), u"Connection refused"_s);
}

void TestStandardTexts::nullTextsAreNotTranslated()
{
    const StandardTexts plain;
    QVERIFY(plain.translate(nullptr, "Back", nullptr, -1).isNull());
    QVERIFY(plain.translate("QFileDialog", nullptr, nullptr, -1).isNull());
    QVERIFY(!plain.isEmpty());
}

ZEL_GUI_TEST_MAIN(TestStandardTexts)

#include "tst_standardtexts.moc"
