// SPDX-License-Identifier: GPL-3.0-or-later
// The decisions on disk: pruning what left the folder, and saving on a thread of its own, one
// save at a time, with what was decided meanwhile going in the next.
#include "TarrafaApp/Modelo/Modelo.hpp"

#include <QFutureWatcher>
#include <QTimer>
#include <QtConcurrent/QtConcurrentRun>

#include <utility>

namespace tarrafa::app {

void Modelo::podarDecisoes(const std::unordered_set<std::string>& existentes)
{
    esquecerDecisoes([&existentes](const std::string& id) { return !existentes.contains(id); });
}

void Modelo::esquecerDecisoes(const std::function<bool(const std::string&)>& sumiu)
{
    const std::size_t antes = decisoes_.size();
    std::erase_if(decisoes_, [&](const auto& entrada) {
        if (!sumiu(entrada.first)) {
            return false;
        }
        pendentes_.esquecer(entrada.first);
        return true;
    });
    if (decisoes_.size() != antes) {
        Q_EMIT decisoesChanged();
        salvarDecisoes();
    }
}

void Modelo::salvarDecisoes()
{
    gravacaoPedida_ = true;
    if (gravacaoEmCurso_ == nullptr) {
        // Queued: the decisions taken in the same turn of the event loop go in one write.
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (gravacaoPedida_ && gravacaoEmCurso_ == nullptr) {
                    iniciarGravacao();
                }
            },
            Qt::QueuedConnection);
    }
}

void Modelo::iniciarGravacao()
{
    gravacaoPedida_ = false;
    emVoo_ = std::exchange(pendentes_, {});
    auto* vigia = new QFutureWatcher<ArquivoDeDecisoes::Gravacao>(this);
    gravacaoEmCurso_ = vigia;
    connect(vigia, &QFutureWatcherBase::finished, this, [this, vigia] {
        if (gravacaoEmCurso_ != vigia) {
            return; // already taken in by concluirGravacoes()
        }
        gravacaoEmCurso_ = nullptr;
        vigia->deleteLater();
        concluirGravacao(vigia->future().takeResult());
        if (gravacaoPedida_) {
            iniciarGravacao();
        }
    });
    // The file object is shared with the thread, the changes copied: a few entries, never
    // the whole set of decisions, so the interface thread does not pay for its size.
    vigia->setFuture(QtConcurrent::run(&gravador_, [arquivo = arquivo_, mudancas = emVoo_] {
        return arquivo->gravar(mudancas);
    }));
}

void Modelo::concluirGravacao(ArquivoDeDecisoes::Gravacao gravacao)
{
    if (gravacao.falha) {
        // The old file is as it was; these changes go with the next save, tried again shortly
        // whether or not the person decides anything else meanwhile.
        ArquivoDeDecisoes::Mudancas maisNovas = std::exchange(pendentes_, std::exchange(emVoo_, {}));
        pendentes_.juntar(std::move(maisNovas));
        if (!avisoDeGravacao_) {
            avisoDeGravacao_ = gravacao.ocupado
                ? QStringLiteral("Outro programa está usando as decisões: as suas continuam valendo nesta janela e "
                                 "serão gravadas assim que ele terminar.")
                : QStringLiteral("Não consegui gravar as decisões (") + QString::fromStdString(*gravacao.falha)
                    + QStringLiteral("): elas continuam valendo nesta janela e serão gravadas assim que possível.");
            informar(*avisoDeGravacao_);
        }
        QTimer::singleShot(kNovaTentativaDeGravar, this, [this] {
            if (!pendentes_.vazia()) {
                salvarDecisoes();
            }
        });
        return;
    }
    emVoo_ = {};
    // Saved after all: the warning no longer holds.
    if (std::optional<QString> aviso = std::exchange(avisoDeGravacao_, std::nullopt); aviso && mensagem_ == aviso) {
        dispensarMensagem();
    }
    if (!gravacao.atuais) {
        return;
    }
    // Someone else wrote the file too: theirs and ours are now in it. What was decided here
    // since this save started goes on top.
    ArquivoDeDecisoes::Decisoes atuais = std::move(*gravacao.atuais);
    pendentes_.aplicarEm(atuais);
    decisoes_ = std::move(atuais);
    Q_EMIT decisoesChanged();
}

void Modelo::concluirGravacoes()
{
    for (;;) {
        if (gravacaoEmCurso_ != nullptr) {
            QFutureWatcher<ArquivoDeDecisoes::Gravacao>* vigia = std::exchange(gravacaoEmCurso_, nullptr);
            vigia->waitForFinished();
            ArquivoDeDecisoes::Gravacao gravacao = vigia->future().takeResult();
            delete vigia;
            concluirGravacao(std::move(gravacao));
        } else if (gravacaoPedida_) {
            iniciarGravacao();
        } else {
            return;
        }
    }
}

} // namespace tarrafa::app
