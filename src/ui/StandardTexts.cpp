#include "ui/StandardTexts.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace
{

struct Text {
    std::string_view context;
    std::string_view source;
    const char16_t *portuguese;
};

constexpr std::string_view fileDialog = "QFileDialog";
constexpr std::string_view fileSystemModel = "QFileSystemModel";
constexpr std::string_view fileIconProvider = "QAbstractFileIconProvider";
constexpr std::string_view lineEdit = "QLineEdit";
constexpr std::string_view textControl = "QWidgetTextControl";
constexpr std::string_view spinBox = "QAbstractSpinBox";
constexpr std::string_view scrollBar = "QScrollBar";

constexpr Text texts[] = {
    {fileDialog, "Look in:", u"Examinar:"},
    {fileDialog, "File &name:", u"&Nome:"},
    {fileDialog, "Directory:", u"Pasta:"},
    {fileDialog, "Files of type:", u"Tipo:"},
    {fileDialog, "&Open", u"&Abrir"},
    {fileDialog, "&Choose", u"&Escolher"},
    {fileDialog, "Directories", u"Pastas"},
    {fileDialog, "Files", u"Arquivos"},
    {fileDialog, "Sidebar", u"Lugares"},
    {fileDialog, "List of places and bookmarks", u"Lista de lugares e favoritos"},
    {fileDialog, "Recent Places", u"Lugares recentes"},
    {fileDialog, "Back", u"Voltar"},
    {fileDialog, "Go back", u"Voltar"},
    {fileDialog, "Forward", u"Avancar"},
    {fileDialog, "Go forward", u"Avancar"},
    {fileDialog, "Parent Directory", u"Pasta acima"},
    {fileDialog, "Go to the parent directory", u"Ir para a pasta acima"},
    {fileDialog, "Create New Folder", u"Criar pasta"},
    {fileDialog, "Create a New Folder", u"Criar uma pasta"},
    {fileDialog, "List View", u"Lista"},
    {fileDialog, "Change to list view mode", u"Mostrar como lista"},
    {fileDialog, "Detail View", u"Detalhes"},
    {fileDialog, "Change to detail view mode", u"Mostrar os detalhes"},
    {fileDialog, "Show ", u"Mostrar "},
    {fileDialog, "Show &hidden files", u"Mostrar arquivos &ocultos"},
    {fileDialog, "&New Folder", u"Nova &pasta"},
    {fileDialog, "New Folder", u"Nova pasta"},
    {fileDialog, "&Rename", u"&Renomear"},
    {fileDialog, "&Delete", u"E&xcluir"},
    {fileDialog, "Delete", u"Excluir"},
    {fileDialog, "Remove", u"Remover"},
    {fileDialog, "%1\nFile not found.\nPlease verify the correct file name was given.",
     u"%1\nArquivo nao encontrado.\nVerifique o nome do arquivo."},
    {fileDialog, "%1\nDirectory not found.\nPlease verify the correct directory name was given.",
     u"%1\nPasta nao encontrada.\nVerifique o nome da pasta."},
    {fileDialog, "'%1' is write protected.\nDo you want to delete it anyway?",
     u"'%1' esta protegido contra gravacao.\nDeseja excluir mesmo assim?"},
    {fileDialog, "Are you sure you want to delete '%1'?", u"Deseja excluir '%1'?"},
    {fileDialog, "Could not delete directory.", u"Nao foi possivel excluir a pasta."},

    {fileSystemModel, "Computer", u"Computador"},
    {fileSystemModel, "Name", u"Nome"},
    {fileSystemModel, "Size", u"Tam."},
    {fileSystemModel, "Type", u"Tipo"},
    {fileSystemModel, "Date Modified", u"Modificado"},

    {fileIconProvider, "Drive", u"Unidade"},
    {fileIconProvider, "Folder", u"Pasta"},
    {fileIconProvider, "Shortcut", u"Atalho"},
    {fileIconProvider, "Unknown", u"Desconhecido"},

    {lineEdit, "&Undo", u"&Desfazer"},
    {lineEdit, "&Redo", u"&Refazer"},
    {lineEdit, "Cu&t", u"Recor&tar"},
    {lineEdit, "&Copy", u"&Copiar"},
    {lineEdit, "&Paste", u"Co&lar"},
    {lineEdit, "Delete", u"Excluir"},
    {lineEdit, "Select All", u"Selecionar tudo"},

    {textControl, "&Copy", u"&Copiar"},
    {textControl, "Copy &Link Location", u"Copiar &endereco do link"},
    {textControl, "Select All", u"Selecionar tudo"},

    {spinBox, "&Select All", u"&Selecionar tudo"},
    {spinBox, "&Step up", u"&Aumentar"},
    {spinBox, "Step &down", u"Di&minuir"},

    {scrollBar, "Scroll here", u"Rolar ate aqui"},
    {scrollBar, "Top", u"Inicio"},
    {scrollBar, "Bottom", u"Fim"},
    {scrollBar, "Left edge", u"Borda esquerda"},
    {scrollBar, "Right edge", u"Borda direita"},
    {scrollBar, "Page up", u"Pagina acima"},
    {scrollBar, "Page down", u"Pagina abaixo"},
    {scrollBar, "Page left", u"Pagina a esquerda"},
    {scrollBar, "Page right", u"Pagina a direita"},
    {scrollBar, "Scroll up", u"Rolar para cima"},
    {scrollBar, "Scroll down", u"Rolar para baixo"},
    {scrollBar, "Scroll left", u"Rolar para a esquerda"},
    {scrollBar, "Scroll right", u"Rolar para a direita"},
};

} // namespace

QString StandardTexts::translate(const char *context, const char *sourceText,
                                 const char *disambiguation, int n) const
{
    Q_UNUSED(disambiguation)
    Q_UNUSED(n)
    if (context == nullptr || sourceText == nullptr) {
        return {};
    }
    const auto *const found =
        std::find_if(std::cbegin(texts), std::cend(texts), [context, sourceText](const Text &text) {
            return text.context == context && text.source == sourceText;
        });
    return found == std::cend(texts) ? QString() : QString::fromUtf16(found->portuguese);
}

bool StandardTexts::isEmpty() const
{
    return false;
}
