// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/App/InstanciaUnica.hpp"

#include "TarrafaApp/Painel/Barramento.hpp"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariantMap>

#include <utility>

namespace tarrafa::app {

namespace {

// The freedesktop interface for activating an application, on the object InstanciaUnica
// registers; only Activate does anything here.
class AdaptadorDeAplicativo final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    explicit AdaptadorDeAplicativo(InstanciaUnica* instancia)
        : QDBusAbstractAdaptor(instancia)
        , instancia_(instancia)
    {
    }

public Q_SLOTS:
    void Activate(const QVariantMap& dadosDaPlataforma)
    {
        Q_UNUSED(dadosDaPlataforma)
        Q_EMIT instancia_->ativacaoPedida();
    }
    void Open(const QStringList& enderecos, const QVariantMap& dadosDaPlataforma)
    {
        Q_UNUSED(enderecos)
        Q_UNUSED(dadosDaPlataforma)
        Q_EMIT instancia_->ativacaoPedida();
    }
    void ActivateAction(const QString& acao, const QVariantList& parametro, const QVariantMap& dadosDaPlataforma)
    {
        Q_UNUSED(acao)
        Q_UNUSED(parametro)
        Q_UNUSED(dadosDaPlataforma)
        Q_EMIT instancia_->ativacaoPedida();
    }

private:
    InstanciaUnica* instancia_;
};

} // namespace

InstanciaUnica::InstanciaUnica(QObject* parent)
    // A bus that does not answer is no bus: the window opens alone rather than late.
    : InstanciaUnica(
        Barramento::sessaoTravada() ? QDBusConnection(QString()) : QDBusConnection::sessionBus(),
        QStringLiteral("io.github.tarrafa.Tarrafa"), parent)
{
}

InstanciaUnica::InstanciaUnica(QDBusConnection conexao, const QString& nome, QObject* parent)
    : QObject(parent)
    , conexao_(std::move(conexao))
    , nome_(nome)
{
    QDBusConnection& sessao = conexao_;
    if (!sessao.isConnected()) {
        return;
    }
    // The object first, so that whoever sees the name can already call it.
    new AdaptadorDeAplicativo(this);
    if (!sessao.registerObject(caminhoDoObjeto(nome_), this)) {
        return;
    }
    if (sessao.registerService(nome_)) {
        papel_ = Papel::primeira;
        return;
    }
    sessao.unregisterObject(caminhoDoObjeto(nome_));
    papel_ = Papel::outraAberta;
}

InstanciaUnica::~InstanciaUnica()
{
    if (papel_ == Papel::primeira) {
        conexao_.unregisterService(nome_);
        conexao_.unregisterObject(caminhoDoObjeto(nome_));
    }
}

bool InstanciaUnica::ativarAOutra() const
{
    QDBusMessage chamada = QDBusMessage::createMethodCall(
        nome_, caminhoDoObjeto(nome_), QStringLiteral("org.freedesktop.Application"), QStringLiteral("Activate"));
    chamada << QVariantMap();
    const QDBusMessage resposta = conexao_.call(chamada, QDBus::Block, 5000);
    return resposta.type() == QDBusMessage::ReplyMessage;
}

QString InstanciaUnica::caminhoDoObjeto(const QString& nome)
{
    QString caminho = QLatin1Char('/') + nome;
    caminho.replace(QLatin1Char('.'), QLatin1Char('/'));
    caminho.replace(QLatin1Char('-'), QLatin1Char('_'));
    return caminho;
}

} // namespace tarrafa::app

#include "InstanciaUnica.moc"
