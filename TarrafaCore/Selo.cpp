// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Selo.hpp"

#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include <functional>
#include <memory>
#include <mutex>

namespace tarrafa {
namespace {

// The one "dd/MM" formatter of the process. ICU promises thread safety for its immutable
// number formatters but not for DateFormat (formatting goes through its calendar), so
// every use holds the lock. Labels are made a few at a time; the lock costs nothing.
class FormatadorDeDia final {
public:
    FormatadorDeDia()
    {
        UErrorCode status = U_ZERO_ERROR;
        auto formatador = std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString(u"dd/MM"), status);
        if (U_FAILURE(status)) {
            return;
        }
        // The zone named by TZ now, rather than whatever ICU's cached default was when
        // something first asked for it.
        formatador->adoptTimeZone(icu::TimeZone::detectHostTimeZone());
        formatador_ = std::move(formatador);
    }

    std::string formatar(Date data) const
    {
        if (!formatador_) {
            return {};
        }
        icu::UnicodeString texto;
        {
            const std::lock_guard trava(mutex_);
            formatador_->format(data.segundosDesde1970() * 1000.0, texto);
        }
        std::string utf8;
        texto.toUTF8String(utf8);
        return utf8;
    }

private:
    std::unique_ptr<icu::SimpleDateFormat> formatador_;
    mutable std::mutex mutex_;
};

const FormatadorDeDia& formatadorDeDia()
{
    // Made once, on first use; the language guarantees a thread-safe initialisation.
    static const FormatadorDeDia formatador;
    return formatador;
}

void misturar(std::size_t& semente, std::size_t valor) noexcept
{
    semente ^= valor + 0x9e3779b97f4a7c15ULL + (semente << 6) + (semente >> 2);
}

} // namespace

// Items hold their badges by value; a badge that grows makes every folder heavier.
static_assert(sizeof(Selo) <= 32);

const std::string& Selo::nome() const noexcept
{
    static const std::string nenhum;
    return nome_ ? *nome_ : nenhum;
}

std::string Selo::dia(Date data)
{
    return formatadorDeDia().formatar(data);
}

std::string Selo::rotulo() const
{
    switch (caso_) {
    case Caso::nuncaAberto:
        return "nunca aberto";
    case Caso::abertoEm:
        return "aberto em " + dia(data_);
    case Caso::nomeOpaco:
        return "nome não identifica";
    case Caso::sufixoDeCopia:
        return "sufixo de cópia";
    case Caso::instaladorUsado:
        return "app já instalado";
    case Caso::instaladorNuncaUsado:
        return "nunca instalado";
    case Caso::pareceRelacionado:
        // "outro arquivo" for one: "outros 1" reads as a mistake.
        return quantidade_ == 1 ? std::string("parece relacionado a outro arquivo")
                                : "parece relacionado a outros " + std::to_string(quantidade_);
    case Caso::screenshot:
        return "captura de tela";
    case Caso::copiaIdentica:
        return "cópia idêntica de " + nome();
    }
    return {};
}

Selo::Tom Selo::tom() const noexcept
{
    switch (caso_) {
    case Caso::nuncaAberto:
    case Caso::screenshot:
        return Tom::neutro;
    case Caso::abertoEm:
    case Caso::instaladorUsado:
        return Tom::ok;
    case Caso::nomeOpaco:
    case Caso::sufixoDeCopia:
    case Caso::copiaIdentica:
    case Caso::instaladorNuncaUsado:
        return Tom::aviso;
    case Caso::pareceRelacionado:
        return Tom::info;
    }
    return Tom::neutro;
}

} // namespace tarrafa

std::size_t std::hash<tarrafa::Selo>::operator()(const tarrafa::Selo& selo) const noexcept
{
    std::size_t semente = std::hash<int> {}(static_cast<int>(selo.caso()));
    switch (selo.caso()) {
    case tarrafa::Selo::Caso::abertoEm:
        // std::hash<double> gives 0.0 and -0.0, which compare equal, the same hash.
        tarrafa::misturar(
            semente, std::hash<double> {}(selo.data() ? selo.data()->segundosDesde1970() : 0.0));
        break;
    case tarrafa::Selo::Caso::pareceRelacionado:
        tarrafa::misturar(semente, std::hash<int> {}(selo.quantidade()));
        break;
    case tarrafa::Selo::Caso::copiaIdentica:
        tarrafa::misturar(semente, std::hash<std::string> {}(selo.nome()));
        break;
    default:
        break;
    }
    return semente;
}
