// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/Detalhes.hpp"

#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaApp/Painel/Aparencia.hpp"
#include "TarrafaApp/Painel/SeloView.hpp"
#include "TarrafaApp/Painel/Simbolos.hpp"
#include "TarrafaCore/Endereco.hpp"
#include "TarrafaCore/Escapes.hpp"
#include "TarrafaCore/Formato.hpp"

#include <QApplication>
#include <QClipboard>
#include <QDateTime>
#include <QDesktopServices>
#include <QFile>
#include <QFutureWatcher>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>
#include <QtConcurrent/QtConcurrentRun>

namespace tarrafa::app {

namespace {

QLabel* rotulo(QWidget* pai, const QString& nome)
{
    auto* r = new QLabel(pai);
    r->setObjectName(nome);
    r->setTextFormat(Qt::PlainText);
    r->setWordWrap(true);
    r->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return r;
}

// A long address has no spaces to wrap at: it may break after each "/" and inside long runs,
// never widening the pane.
QString quebravel(const QString& texto)
{
    constexpr int kMaiorTrecho = 24;
    QString saida;
    saida.reserve(texto.size() + texto.size() / 8);
    int trecho = 0;
    for (const QChar c : texto) {
        saida.append(c);
        ++trecho;
        if (c == QLatin1Char('/') || c == QLatin1Char('.') || c == QLatin1Char('-') || trecho >= kMaiorTrecho) {
            saida.append(QChar(0x200B));
            trecho = 0;
        }
    }
    return saida;
}

// How each address of the list is introduced: the file's own, the page that led to it, then
// whatever else the browser noted (the tab, the site).
QString papelDoEndereco(std::size_t posicao)
{
    switch (posicao) {
    case 0:
        return QStringLiteral("Endereço do arquivo");
    case 1:
        return QStringLiteral("Página de origem");
    default:
        return QStringLiteral("Também passou por");
    }
}

} // namespace

Detalhes::Detalhes(Modelo& modelo, QWidget* parent)
    : QWidget(parent)
    , modelo_(modelo)
    , imagemRotulo_(new QLabel(this))
    , nome_(rotulo(this, QStringLiteral("nomeNosDetalhes")))
    , campos_(new QWidget(this))
    , linhasDosCampos_(new QVBoxLayout(campos_))
    , abrirPagina_(new QPushButton(QStringLiteral("Abrir página de origem"), this))
    , copiar_(new QPushButton(QStringLiteral("Copiar endereço"), this))
    , copiarCompleto_(new QPushButton(QStringLiteral("Copiar endereço completo"), this))
    , copiado_(new QLabel(this))
    , esconderCopiado_(new QTimer(this))
    , dica_(rotulo(this, QStringLiteral("dicaDosDetalhes")))
{
    setObjectName(QStringLiteral("detalhes"));
    setAccessibleName(QStringLiteral("Detalhes do arquivo"));
    setFixedWidth(kLadoDaPrevia + 2 * 16);

    imagemRotulo_->setObjectName(QStringLiteral("previa"));
    imagemRotulo_->setAlignment(Qt::AlignCenter);
    imagemRotulo_->setFixedHeight(kAlturaDaPrevia);
    nome_->setFont(aparencia::fonte(aparencia::kCorpo, QFont::DemiBold));
    abrirPagina_->setObjectName(QStringLiteral("abrirPaginaDeOrigem"));
    copiar_->setObjectName(QStringLiteral("copiarEndereco"));
    abrirPagina_->setAutoDefault(false);
    copiar_->setAutoDefault(false);
    copiar_->setToolTip(QStringLiteral("Copia o endereço como aparece aqui"));
    copiarCompleto_->setObjectName(QStringLiteral("copiarEnderecoCompleto"));
    copiarCompleto_->setAutoDefault(false);
    copiarCompleto_->setFlat(true);
    copiarCompleto_->setToolTip(QStringLiteral("Copia o endereço inteiro, com o que o painel esconde: nome de "
                                               "usuário, senha, parâmetros depois de \"?\" e fragmento depois de "
                                               "\"#\", que podem dar acesso ao arquivo"));
    copiado_->setObjectName(QStringLiteral("enderecoCopiado"));
    copiado_->setText(QStringLiteral("Endereço copiado"));
    copiado_->setAccessibleName(QStringLiteral("Endereço copiado"));
    copiado_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    copiado_->hide();
    // Long enough to be read, short enough not to speak of a copy made long ago.
    esconderCopiado_->setSingleShot(true);
    esconderCopiado_->setInterval(kTempoDoAvisoDeCopia);
    connect(esconderCopiado_, &QTimer::timeout, copiado_, &QWidget::hide);
    dica_->setText(QStringLiteral("Escolha um arquivo da lista para ver como ele é e de onde veio."));
    dica_->setAlignment(Qt::AlignCenter);

    linhasDosCampos_->setContentsMargins(0, 0, 0, 0);
    linhasDosCampos_->setSpacing(6);

    auto* botoes = new QHBoxLayout;
    botoes->setSpacing(6);
    botoes->addWidget(abrirPagina_);
    botoes->addWidget(copiar_);

    // The picture and the fields scroll when the window is short; the buttons stay in sight.
    auto* conteudo = new QWidget;
    conteudo->setObjectName(QStringLiteral("conteudoDosDetalhes"));
    auto* linhasDoConteudo = new QVBoxLayout(conteudo);
    linhasDoConteudo->setContentsMargins(16, 16, 16, 8);
    linhasDoConteudo->setSpacing(10);
    linhasDoConteudo->addWidget(imagemRotulo_);
    linhasDoConteudo->addWidget(nome_);
    linhasDoConteudo->addWidget(campos_);
    linhasDoConteudo->addWidget(dica_);
    linhasDoConteudo->addStretch(1);
    auto* rolagem = new QScrollArea(this);
    rolagem->setObjectName(QStringLiteral("rolagemDosDetalhes"));
    rolagem->setWidget(conteudo);
    rolagem->setWidgetResizable(true);
    rolagem->setFrameShape(QFrame::NoFrame);
    rolagem->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    rolagem->viewport()->setAutoFillBackground(false);
    conteudo->setAutoFillBackground(false);

    auto* linhas = new QVBoxLayout(this);
    linhas->setContentsMargins(0, 0, 0, 0);
    linhas->setSpacing(0);
    linhas->addWidget(rolagem, 1);
    botoes->setContentsMargins(16, 8, 16, 16);
    linhas->addLayout(botoes);
    auto* maisBotoes = new QHBoxLayout;
    maisBotoes->setContentsMargins(16, 0, 16, 12);
    maisBotoes->setSpacing(6);
    maisBotoes->addWidget(copiarCompleto_);
    maisBotoes->addStretch(1);
    maisBotoes->addWidget(copiado_);
    linhas->addLayout(maisBotoes);

    // The address as the pane shows it: a link pasted into a chat should not carry the
    // download's token or the site's password by surprise.
    connect(copiar_, &QPushButton::clicked, this, [this] {
        if (const auto endereco = enderecoDoArquivo()) {
            copiarTexto(QString::fromStdString(Endereco::semSegredos(*endereco)));
        }
    });
    connect(copiarCompleto_, &QPushButton::clicked, this, [this] {
        if (const auto endereco = enderecoDoArquivo()) {
            copiarTexto(QString::fromStdString(*endereco));
        }
    });
    connect(abrirPagina_, &QPushButton::clicked, this, [this] {
        if (const auto pagina = paginaDeOrigem()) {
            QDesktopServices::openUrl(QUrl::fromEncoded(QByteArray::fromStdString(*pagina)));
        }
    });
    mostrar(std::nullopt);
}

QString Detalhes::dataEHora(Date data)
{
    return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(data.segundosDesde1970() * 1000.0))
        .toString(QStringLiteral("dd/MM/yyyy HH:mm"));
}

std::optional<std::string> Detalhes::enderecoDoArquivo() const
{
    if (!item_ || item_->snapshot().origens().empty()) {
        return std::nullopt;
    }
    return item_->snapshot().origens().front();
}

void Detalhes::copiarTexto(const QString& texto)
{
    QGuiApplication::clipboard()->setText(texto);
    copiado_->show();
    esconderCopiado_->start();
}

std::optional<std::string> Detalhes::paginaDeOrigem() const
{
    if (!item_ || item_->snapshot().origens().size() < 2) {
        return std::nullopt;
    }
    return item_->snapshot().origens()[1];
}

void Detalhes::limpar()
{
    while (QLayoutItem* filho = linhasDosCampos_->takeAt(0)) {
        delete filho->widget();
        delete filho;
    }
}

void Detalhes::linha(const QString& rotuloDoCampo, const QString& valor, const char* nome)
{
    auto* legenda = rotulo(campos_, QString::fromLatin1(nome) + QStringLiteral("Rotulo"));
    legenda->setText(rotuloDoCampo);
    legenda->setFont(aparencia::fonte(aparencia::kLegenda));
    QPalette paleta = legenda->palette();
    paleta.setColor(QPalette::WindowText, aparencia::secundaria(palette()));
    legenda->setPalette(paleta);
    auto* texto = rotulo(campos_, QString::fromLatin1(nome));
    texto->setText(valor);
    linhasDosCampos_->addWidget(legenda);
    linhasDosCampos_->addWidget(texto);
}

void Detalhes::mostrarIconeDoTipo(const std::string& caminho)
{
    const QMimeType tipo = Previa::tipoPeloNome(caminho);
    // Where the theme knows neither the type nor its family, a plain document: the program's
    // own icon there would read as if the file were Tarrafa's.
    const QIcon icone = QIcon::fromTheme(tipo.iconName(), QIcon::fromTheme(tipo.genericIconName(), simbolo(u"doc")));
    imagemRotulo_->setPixmap(icone.pixmap(96, 96));
}

Detalhes::~Detalhes()
{
    previaEmCurso_.request_stop();
}

void Detalhes::mostrar(const std::optional<ItemTriado>& item)
{
    if (item && item_ && *item == *item_) {
        return;
    }
    // The same file again (a new badge, a new scan): its picture stays until the new one comes,
    // rather than flashing the type's icon in between.
    const bool mesmoArquivo = item && item_ && item->id() == item_->id();
    item_ = item;
    ++geracao_;
    previaEmCurso_.request_stop();
    previaEmCurso_ = {};
    limpar();
    if (!mesmoArquivo) {
        imagem_ = QImage();
        fonte_ = Previa::Fonte::nenhuma;
    }
    const bool temItem = item_.has_value();
    imagemRotulo_->setVisible(temItem);
    nome_->setVisible(temItem);
    campos_->setVisible(temItem);
    abrirPagina_->setVisible(temItem);
    copiar_->setVisible(temItem);
    copiarCompleto_->setVisible(temItem);
    if (!mesmoArquivo) {
        esconderCopiado_->stop();
        copiado_->hide();
    }
    dica_->setVisible(!temItem);
    if (!temItem) {
        imagemRotulo_->clear();
        return;
    }

    const FileSnapshot& s = item_->snapshot();
    nome_->setText(QString::fromStdString(Escapes::paraJanela(s.nome())));
    for (const Selo& selo : item_->selos()) {
        if (selo.caso() == Selo::Caso::copiaIdentica) {
            linha(QStringLiteral("Conteúdo"), rotuloNaJanela(selo), "copiaDe");
        }
    }
    linha(QStringLiteral("Origem"), QString::fromStdString(Escapes::paraJanela(item_->origem().rotulo())), "origem");
    // Shown without what may be secret; "Copiar endereço completo" gives the whole address.
    for (std::size_t i = 0; i < s.origens().size(); ++i) {
        linha(papelDoEndereco(i), quebravel(QString::fromStdString(Endereco::semSegredos(s.origens()[i]))),
            ("endereco" + std::to_string(i)).c_str());
    }
    if (s.quarentenaAgente()) {
        linha(QStringLiteral("Baixado por"), QString::fromStdString(*s.quarentenaAgente()), "baixadoPor");
    }
    if (s.baixadoEm()) {
        linha(QStringLiteral("Baixado em"), dataEHora(*s.baixadoEm()), "baixadoEm");
    }
    linha(QStringLiteral("Chegou à pasta em"), dataEHora(s.criadoEm()), "adicionadoEm");
    linha(QStringLiteral("Aberto pela última vez"),
        s.nuncaReaberto() || !s.ultimoUsoEm() ? QStringLiteral("nunca aberto") : dataEHora(*s.ultimoUsoEm()),
        "abertoEm");
    linha(QStringLiteral("Tamanho"), QString::fromStdString(Formato::bytes(s.tamanho())), "tamanho");
    abrirPagina_->setEnabled(paginaDeOrigem().has_value());
    copiar_->setEnabled(enderecoDoArquivo().has_value());
    copiarCompleto_->setEnabled(enderecoDoArquivo().has_value());
    abrirPagina_->setToolTip(paginaDeOrigem() ? QString() : QStringLiteral("O navegador não anotou a página"));

    if (!mesmoArquivo || imagem_.isNull()) {
        mostrarIconeDoTipo(s.id());
    }
    if (s.ehPasta() || modelo_.estaNaLixeira(s.id())) {
        Q_EMIT previaPronta();
        return;
    }
    const std::uint64_t esta = geracao_;
    auto* vigia = new QFutureWatcher<Previa::Resultado>(this);
    connect(vigia, &QFutureWatcherBase::finished, this, [this, vigia, esta] {
        vigia->deleteLater();
        if (esta != geracao_) {
            return; // another file was chosen meanwhile
        }
        Previa::Resultado resultado = vigia->future().takeResult();
        imagem_ = std::move(resultado.imagem);
        fonte_ = resultado.fonte;
        if (!imagem_.isNull()) {
            QPixmap quadro = QPixmap::fromImage(imagem_);
            quadro.setDevicePixelRatio(devicePixelRatioF());
            imagemRotulo_->setPixmap(quadro);
        } else if (item_) {
            mostrarIconeDoTipo(item_->id());
        }
        Q_EMIT previaPronta();
    });
    const qreal escala = devicePixelRatioF();
    const QSize limite(static_cast<int>(kLadoDaPrevia * escala), static_cast<int>(kAlturaDaPrevia * escala));
    vigia->setFuture(QtConcurrent::run([caminho = s.id(), limite, parar = previaEmCurso_.get_token()] {
        return Previa::carregar(caminho, limite, parar);
    }));
}

} // namespace tarrafa::app
