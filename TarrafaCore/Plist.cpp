// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Plist.hpp"

#include <expat.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <unordered_map>

namespace tarrafa::Plist {

namespace {

// ---- binary form -------------------------------------------------------------------------

constexpr std::string_view kCabecalhoBinario = "bplist00";
constexpr std::size_t kTamanhoDoTrailer = 32;
// An array may refer to one string several times (equal strings are stored once), so a
// decoded value can be larger than its input; past this multiple the input is hostile.
constexpr std::size_t kExpansaoMaxima = 4;

std::uint64_t bigEndian(const unsigned char* p, std::size_t n) noexcept
{
    std::uint64_t valor = 0;
    for (std::size_t i = 0; i < n; ++i) {
        valor = (valor << 8) | p[i];
    }
    return valor;
}

// UTF-16 big-endian code units to UTF-8; an unpaired surrogate becomes U+FFFD.
std::optional<std::string> deUtf16(const unsigned char* p, std::uint64_t unidades)
{
    if (unidades > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max() / 3)) {
        return std::nullopt;
    }
    const auto n = static_cast<std::int32_t>(unidades);
    std::u16string texto(static_cast<std::size_t>(n), u'\0');
    for (std::int32_t i = 0; i < n; ++i) {
        texto[static_cast<std::size_t>(i)]
            = static_cast<char16_t>(bigEndian(p + 2 * static_cast<std::size_t>(i), 2));
    }
    std::string saida(static_cast<std::size_t>(n) * 3, '\0');
    std::int32_t escritos = 0;
    UErrorCode erro = U_ZERO_ERROR;
    u_strToUTF8WithSub(saida.data(), static_cast<std::int32_t>(saida.size()), &escritos, texto.data(), n,
        0xFFFD, nullptr, &erro);
    if (erro > U_ZERO_ERROR) { // U_FAILURE, spelled without its integer-typed result
        return std::nullopt;
    }
    saida.resize(static_cast<std::size_t>(escritos));
    return saida;
}

// Reads the trailer, the offset table and the objects the root needs, each object at most
// once and without recursion. Every position is checked against the buffer before use.
class LeitorBinario final {
public:
    explicit LeitorBinario(std::span<const unsigned char> bytes)
        : b_(bytes)
    {
    }

    std::optional<Valor> ler();

private:
    bool lerTrailer();
    [[nodiscard]] bool cabe(std::uint64_t pos, std::uint64_t n) const noexcept
    {
        return pos <= fim_ && n <= fim_ - pos;
    }
    // The position of an object, which must lie in the object area.
    [[nodiscard]] std::optional<std::uint64_t> posicaoDe(std::uint64_t referencia) const;
    // The element count that follows a marker: its low nibble, or an integer after it.
    bool contagem(std::uint64_t& pos, unsigned nibble, std::uint64_t& n) const;
    // One object as a scalar; containers and data give the marker. nullopt: malformed.
    [[nodiscard]] std::optional<Escalar> escalar(std::uint64_t pos) const;

    std::span<const unsigned char> b_;
    std::uint64_t fim_ = 0; // objects lie in [8, fim_); the offset table starts at fim_
    std::uint64_t objetos_ = 0;
    std::uint64_t raiz_ = 0;
    unsigned tamanhoDaPosicao_ = 0;
    unsigned tamanhoDaReferencia_ = 0;
};

bool LeitorBinario::lerTrailer()
{
    if (b_.size() < kCabecalhoBinario.size() + kTamanhoDoTrailer
        || std::memcmp(b_.data(), kCabecalhoBinario.data(), kCabecalhoBinario.size()) != 0) {
        return false;
    }
    const std::uint64_t fimDaTabela = b_.size() - kTamanhoDoTrailer;
    const unsigned char* t = b_.data() + fimDaTabela;
    tamanhoDaPosicao_ = t[6];
    tamanhoDaReferencia_ = t[7];
    objetos_ = bigEndian(t + 8, 8);
    raiz_ = bigEndian(t + 16, 8);
    const std::uint64_t tabela = bigEndian(t + 24, 8);
    if (tamanhoDaPosicao_ < 1 || tamanhoDaPosicao_ > 8 || tamanhoDaReferencia_ < 1
        || tamanhoDaReferencia_ > 8) {
        return false;
    }
    if (tabela <= kCabecalhoBinario.size() || tabela > fimDaTabela) {
        return false;
    }
    if (objetos_ == 0 || objetos_ > (fimDaTabela - tabela) / tamanhoDaPosicao_ || raiz_ >= objetos_) {
        return false;
    }
    fim_ = tabela;
    return true;
}

std::optional<std::uint64_t> LeitorBinario::posicaoDe(std::uint64_t referencia) const
{
    if (referencia >= objetos_) {
        return std::nullopt;
    }
    // The trailer check keeps the whole table inside the buffer.
    const std::uint64_t pos = bigEndian(b_.data() + fim_ + referencia * tamanhoDaPosicao_, tamanhoDaPosicao_);
    if (pos < kCabecalhoBinario.size() || pos >= fim_) {
        return std::nullopt;
    }
    return pos;
}

bool LeitorBinario::contagem(std::uint64_t& pos, unsigned nibble, std::uint64_t& n) const
{
    if (nibble != 0xF) {
        n = nibble;
        return true;
    }
    if (!cabe(pos, 1)) {
        return false;
    }
    const unsigned marcador = b_[pos];
    if ((marcador >> 4) != 0x1 || (marcador & 0xF) > 3) {
        return false;
    }
    const std::uint64_t tamanho = std::uint64_t {1} << (marcador & 0xF);
    if (!cabe(pos + 1, tamanho)) {
        return false;
    }
    n = bigEndian(b_.data() + pos + 1, tamanho);
    if (tamanho == 8 && n > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        return false; // an eight-byte integer is signed: a negative count
    }
    pos += 1 + tamanho;
    return true;
}

std::optional<Escalar> LeitorBinario::escalar(std::uint64_t pos) const
{
    if (!cabe(pos, 1)) {
        return std::nullopt;
    }
    const unsigned marcador = b_[pos];
    const unsigned nibble = marcador & 0xF;
    const unsigned char* p = b_.data() + pos + 1;
    ++pos;
    switch (marcador >> 4) {
    case 0x0:
        switch (marcador) {
        case 0x00: // null
        case 0x0F: // fill
            return Escalar(NaoEscalar {});
        case 0x08:
            return Escalar(false);
        case 0x09:
            return Escalar(true);
        default:
            return std::nullopt;
        }
    case 0x1: {
        if (nibble > 4) {
            return std::nullopt;
        }
        const std::uint64_t tamanho = std::uint64_t {1} << nibble;
        if (!cabe(pos, tamanho)) {
            return std::nullopt;
        }
        if (tamanho <= 4) { // one, two and four bytes are unsigned
            return Escalar(
                std::in_place_type<std::int64_t>, static_cast<std::int64_t>(bigEndian(p, tamanho)));
        }
        if (tamanho == 8) {
            return Escalar(std::in_place_type<std::int64_t>, std::bit_cast<std::int64_t>(bigEndian(p, 8)));
        }
        // Sixteen bytes: a signed high half and an unsigned low half.
        const auto alta = std::bit_cast<std::int64_t>(bigEndian(p, 8));
        const std::uint64_t baixa = bigEndian(p + 8, 8);
        const bool cabeEm64 = (alta == 0 && (baixa >> 63) == 0) || (alta == -1 && (baixa >> 63) == 1);
        if (cabeEm64) {
            return Escalar(std::in_place_type<std::int64_t>, std::bit_cast<std::int64_t>(baixa));
        }
        // Beyond 64 bits only its magnitude can matter: kept as the nearest real.
        return Escalar(static_cast<double>(alta) * 18446744073709551616.0 + static_cast<double>(baixa));
    }
    case 0x2: {
        double valor = 0.0;
        if (nibble == 2 && cabe(pos, 4)) {
            valor = std::bit_cast<float>(static_cast<std::uint32_t>(bigEndian(p, 4)));
        } else if (nibble == 3 && cabe(pos, 8)) {
            valor = std::bit_cast<double>(bigEndian(p, 8));
        } else {
            return std::nullopt;
        }
        if (!std::isfinite(valor)) {
            return std::nullopt;
        }
        return Escalar(valor);
    }
    case 0x3: {
        if (marcador != 0x33 || !cabe(pos, 8)) {
            return std::nullopt;
        }
        const auto segundos = std::bit_cast<double>(bigEndian(p, 8));
        if (!std::isfinite(segundos)) {
            return std::nullopt;
        }
        return Escalar(Date::desde2001(segundos));
    }
    case 0x5: { // ASCII
        std::uint64_t n = 0;
        if (!contagem(pos, nibble, n) || !cabe(pos, n)) {
            return std::nullopt;
        }
        const auto* inicio = reinterpret_cast<const char*>(b_.data() + pos);
        const std::string_view texto(inicio, n);
        if (std::any_of(
                texto.begin(), texto.end(), [](char c) { return static_cast<unsigned char>(c) > 0x7F; })) {
            return std::nullopt;
        }
        return Escalar(std::string(texto));
    }
    case 0x6: { // UTF-16 big-endian; the count is in code units
        std::uint64_t n = 0;
        if (!contagem(pos, nibble, n) || pos > fim_ || n > (fim_ - pos) / 2) {
            return std::nullopt;
        }
        std::optional<std::string> texto = deUtf16(b_.data() + pos, n);
        if (!texto) {
            return std::nullopt;
        }
        return Escalar(std::move(*texto));
    }
    case 0x4: // data
    case 0x8: // uid
    case 0xA: // array
    case 0xC: // set
    case 0xD: // dictionary
        return Escalar(NaoEscalar {});
    default:
        return std::nullopt;
    }
}

std::optional<Valor> LeitorBinario::ler()
{
    if (!lerTrailer()) {
        return std::nullopt;
    }
    const std::optional<std::uint64_t> inicio = posicaoDe(raiz_);
    if (!inicio) {
        return std::nullopt;
    }
    const unsigned marcador = b_[*inicio];
    if ((marcador >> 4) != 0xA) {
        std::optional<Escalar> raiz = escalar(*inicio);
        if (!raiz) {
            return std::nullopt;
        }
        return Valor(std::move(*raiz));
    }

    std::uint64_t pos = *inicio + 1;
    std::uint64_t n = 0;
    if (!contagem(pos, marcador & 0xF, n) || pos > fim_ || n > (fim_ - pos) / tamanhoDaReferencia_) {
        return std::nullopt;
    }
    std::vector<Escalar> elementos;
    elementos.reserve(n);
    // Every object is decoded once: a second reference to it reuses the first decoding,
    // and a reference back to the array itself is a non-scalar element.
    constexpr std::size_t kDaRaiz = std::numeric_limits<std::size_t>::max();
    std::unordered_map<std::uint64_t, std::size_t> vistos;
    vistos.emplace(raiz_, kDaRaiz);
    // Every string byte of the value, decoded or copied, counts against the limit: distinct
    // references may point at the same position, or at overlapping ones, and decode one long
    // string over and over without ever being a copy.
    std::size_t bytesDeTexto = 0;
    for (std::uint64_t i = 0; i < n; ++i) {
        const std::uint64_t referencia
            = bigEndian(b_.data() + pos + i * tamanhoDaReferencia_, tamanhoDaReferencia_);
        if (referencia >= objetos_) {
            return std::nullopt;
        }
        const auto [visto, novo] = vistos.try_emplace(referencia, elementos.size());
        if (!novo) {
            if (visto->second == kDaRaiz) {
                elementos.emplace_back(NaoEscalar {});
                continue;
            }
            Escalar copia = elementos[visto->second];
            if (const auto* texto = std::get_if<std::string>(&copia)) {
                bytesDeTexto += texto->size();
                if (bytesDeTexto > kExpansaoMaxima * b_.size()) {
                    return std::nullopt;
                }
            }
            elementos.push_back(std::move(copia));
            continue;
        }
        const std::optional<std::uint64_t> posicao = posicaoDe(referencia);
        if (!posicao) {
            return std::nullopt;
        }
        std::optional<Escalar> elemento = escalar(*posicao);
        if (!elemento) {
            return std::nullopt;
        }
        if (const auto* texto = std::get_if<std::string>(&*elemento)) {
            bytesDeTexto += texto->size();
            if (bytesDeTexto > kExpansaoMaxima * b_.size()) {
                return std::nullopt;
            }
        }
        elementos.push_back(std::move(*elemento));
    }
    return Valor(std::move(elementos));
}

// ---- XML form ----------------------------------------------------------------------------

bool ehEspacoXml(char c) noexcept
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

std::string_view aparar(std::string_view texto) noexcept
{
    while (!texto.empty() && ehEspacoXml(texto.front())) {
        texto.remove_prefix(1);
    }
    while (!texto.empty() && ehEspacoXml(texto.back())) {
        texto.remove_suffix(1);
    }
    return texto;
}

std::optional<std::int64_t> inteiroXml(std::string_view texto) noexcept
{
    texto = aparar(texto);
    if (!texto.empty() && texto.front() == '+') {
        texto.remove_prefix(1);
        if (!texto.empty() && texto.front() == '-') {
            return std::nullopt;
        }
    }
    std::int64_t valor = 0;
    const auto [fim, erro] = std::from_chars(texto.data(), texto.data() + texto.size(), valor);
    if (texto.empty() || erro != std::errc() || fim != texto.data() + texto.size()) {
        return std::nullopt;
    }
    return valor;
}

std::optional<double> realXml(std::string_view texto) noexcept
{
    texto = aparar(texto);
    if (!texto.empty() && texto.front() == '+') {
        texto.remove_prefix(1);
        if (!texto.empty() && texto.front() == '-') {
            return std::nullopt;
        }
    }
    double valor = 0.0;
    // from_chars reads the C format whatever the locale.
    const auto [fim, erro] = std::from_chars(texto.data(), texto.data() + texto.size(), valor);
    if (texto.empty() || erro != std::errc() || fim != texto.data() + texto.size() || !std::isfinite(valor)) {
        return std::nullopt;
    }
    return valor;
}

bool ehTagEscalar(std::string_view nome) noexcept
{
    return nome == "string" || nome == "date" || nome == "real" || nome == "integer" || nome == "true"
        || nome == "false";
}

// Tags whose content is never read: kept as the non-scalar marker.
bool ehTagNaoEscalar(std::string_view nome) noexcept
{
    return nome == "array" || nome == "dict" || nome == "data";
}

std::optional<Escalar> escalarXml(std::string_view tag, std::string_view texto)
{
    if (tag == "string") {
        return Escalar(std::string(texto));
    }
    if (tag == "true" || tag == "false") {
        if (!aparar(texto).empty()) {
            return std::nullopt;
        }
        return Escalar(tag == "true");
    }
    if (tag == "integer") {
        if (const std::optional<std::int64_t> valor = inteiroXml(texto)) {
            return Escalar(std::in_place_type<std::int64_t>, *valor);
        }
        return std::nullopt;
    }
    if (tag == "real") {
        if (const std::optional<double> valor = realXml(texto)) {
            return Escalar(*valor);
        }
        return std::nullopt;
    }
    if (const std::optional<Date> data = dataIso8601(aparar(texto))) {
        return Escalar(*data);
    }
    return std::nullopt;
}

class Expat final {
public:
    Expat()
        : parser_(XML_ParserCreate(nullptr))
    {
    }
    Expat(const Expat&) = delete;
    Expat& operator=(const Expat&) = delete;
    ~Expat()
    {
        if (parser_ != nullptr) {
            XML_ParserFree(parser_);
        }
    }
    [[nodiscard]] XML_Parser get() const noexcept { return parser_; }

private:
    XML_Parser parser_;
};

// Streams the document through expat, keeping only the root value; a subtree that is not
// examined is skipped by depth, never built.
class LeitorXml final {
public:
    std::optional<Valor> ler(std::span<const unsigned char> bytes);

private:
    static void XMLCALL aoAbrir(void* dados, const XML_Char* nome, const XML_Char** atributos);
    static void XMLCALL aoFechar(void* dados, const XML_Char* nome);
    static void XMLCALL aoLerTexto(void* dados, const XML_Char* texto, int tamanho);
    static void XMLCALL aoDeclararEntidade(void* dados, const XML_Char*, int, const XML_Char*, int,
        const XML_Char*, const XML_Char*, const XML_Char*, const XML_Char*);

    void abrir(std::string_view nome);
    void fechar();
    void texto(std::string_view texto);
    void falhar();
    void guardar(Escalar valor);

    XML_Parser parser_ = nullptr;
    bool falhou_ = false;
    int profundidade_ = 0;
    int ignorandoDesde_ = 0; // depth of the skipped element; 0 when not skipping
    std::string tagDoEscalar_; // the scalar element open now; empty when none
    std::string textoDoEscalar_;
    bool raizEhLista_ = false;
    std::optional<Escalar> raiz_;
    std::vector<Escalar> elementos_;
    bool completo_ = false;
};

void LeitorXml::falhar()
{
    if (!falhou_) {
        falhou_ = true;
        XML_StopParser(parser_, XML_FALSE);
    }
}

void LeitorXml::guardar(Escalar valor)
{
    if (raizEhLista_) {
        elementos_.push_back(std::move(valor));
    } else {
        raiz_ = std::move(valor);
        completo_ = true;
    }
}

void LeitorXml::abrir(std::string_view nome)
{
    ++profundidade_;
    if (ignorandoDesde_ != 0) {
        return;
    }
    if (!tagDoEscalar_.empty() || completo_) {
        falhar(); // an element inside a scalar, or a second root value
        return;
    }
    if (profundidade_ == 1) {
        if (nome != "plist") {
            falhar();
        }
        return;
    }
    const bool naRaiz = profundidade_ == 2;
    const bool naLista = profundidade_ == 3 && raizEhLista_;
    if (!naRaiz && !naLista) {
        falhar();
        return;
    }
    if (ehTagEscalar(nome)) {
        tagDoEscalar_ = nome;
        textoDoEscalar_.clear();
    } else if (naRaiz && nome == "array") {
        raizEhLista_ = true;
    } else if (ehTagNaoEscalar(nome)) {
        guardar(Escalar(NaoEscalar {}));
        ignorandoDesde_ = profundidade_;
    } else {
        falhar();
    }
}

void LeitorXml::fechar()
{
    const int fechada = profundidade_--;
    if (ignorandoDesde_ != 0) {
        if (fechada == ignorandoDesde_) {
            ignorandoDesde_ = 0;
        }
        return;
    }
    if (!tagDoEscalar_.empty()) {
        std::optional<Escalar> valor = escalarXml(tagDoEscalar_, textoDoEscalar_);
        tagDoEscalar_.clear();
        textoDoEscalar_.clear();
        if (!valor) {
            falhar();
            return;
        }
        guardar(std::move(*valor));
        return;
    }
    if (fechada == 2 && raizEhLista_) {
        completo_ = true;
    }
}

void LeitorXml::texto(std::string_view texto)
{
    if (ignorandoDesde_ != 0) {
        return;
    }
    if (!tagDoEscalar_.empty()) {
        textoDoEscalar_.append(texto);
    } else if (!aparar(texto).empty()) {
        falhar(); // loose text between elements
    }
}

void XMLCALL LeitorXml::aoAbrir(void* dados, const XML_Char* nome, const XML_Char** /*atributos*/)
{
    static_cast<LeitorXml*>(dados)->abrir(nome);
}

void XMLCALL LeitorXml::aoFechar(void* dados, const XML_Char* /*nome*/)
{
    static_cast<LeitorXml*>(dados)->fechar();
}

void XMLCALL LeitorXml::aoLerTexto(void* dados, const XML_Char* texto, int tamanho)
{
    static_cast<LeitorXml*>(dados)->texto(std::string_view(texto, static_cast<std::size_t>(tamanho)));
}

// A property list never declares entities; refusing them closes the door on expansion bombs.
void XMLCALL LeitorXml::aoDeclararEntidade(void* dados, const XML_Char*, int, const XML_Char*, int,
    const XML_Char*, const XML_Char*, const XML_Char*, const XML_Char*)
{
    static_cast<LeitorXml*>(dados)->falhar();
}

std::optional<Valor> LeitorXml::ler(std::span<const unsigned char> bytes)
{
    const Expat expat;
    if (expat.get() == nullptr) {
        return std::nullopt;
    }
    parser_ = expat.get();
    XML_SetUserData(parser_, this);
    XML_SetElementHandler(parser_, &LeitorXml::aoAbrir, &LeitorXml::aoFechar);
    XML_SetCharacterDataHandler(parser_, &LeitorXml::aoLerTexto);
    XML_SetEntityDeclHandler(parser_, &LeitorXml::aoDeclararEntidade);

    constexpr std::size_t kPedaco = std::size_t {1} << 20;
    std::size_t pos = 0;
    do {
        const std::size_t n = std::min(kPedaco, bytes.size() - pos);
        const bool ultimo = pos + n == bytes.size();
        const auto* inicio = reinterpret_cast<const char*>(bytes.data() + pos);
        if (XML_Parse(parser_, inicio, static_cast<int>(n), ultimo ? XML_TRUE : XML_FALSE) != XML_STATUS_OK
            || falhou_) {
            return std::nullopt;
        }
        pos += n;
    } while (pos < bytes.size());

    if (!completo_) {
        return std::nullopt;
    }
    if (raizEhLista_) {
        return Valor(std::move(elementos_));
    }
    return Valor(std::move(*raiz_));
}

// Whether the bytes start, after an optional UTF-8 byte-order mark and white space, with
// the text; returns the position of the text.
std::optional<std::size_t> comecaCom(std::span<const unsigned char> bytes, std::string_view texto)
{
    std::size_t pos = 0;
    if (bytes.size() >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF) {
        pos = 3;
    }
    while (pos < bytes.size() && ehEspacoXml(static_cast<char>(bytes[pos]))) {
        ++pos;
    }
    if (bytes.size() - pos < texto.size()
        || std::memcmp(bytes.data() + pos, texto.data(), texto.size()) != 0) {
        return std::nullopt;
    }
    return pos;
}

// ---- dates -------------------------------------------------------------------------------

// Days from 1970-01-01 to a date of the proleptic Gregorian calendar.
constexpr std::int64_t diasDesde1970(std::int64_t ano, unsigned mes, unsigned dia) noexcept
{
    ano -= mes <= 2 ? 1 : 0;
    const std::int64_t era = (ano >= 0 ? ano : ano - 399) / 400;
    const auto anoDaEra = static_cast<unsigned>(ano - era * 400);
    const unsigned diaDoAno = (153 * (mes > 2 ? mes - 3 : mes + 9) + 2) / 5 + dia - 1;
    const unsigned diaDaEra = anoDaEra * 365 + anoDaEra / 4 - anoDaEra / 100 + diaDoAno;
    return era * 146097 + static_cast<std::int64_t>(diaDaEra) - 719468;
}

static_assert(diasDesde1970(1970, 1, 1) == 0);
static_assert(diasDesde1970(2001, 1, 1) == 11323);

constexpr unsigned diasNoMes(std::int64_t ano, unsigned mes) noexcept
{
    constexpr std::array<unsigned, 12> kDias = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool bissexto = (ano % 4 == 0 && ano % 100 != 0) || ano % 400 == 0;
    return mes == 2 && bissexto ? 29 : kDias[mes - 1];
}

class Cursor final {
public:
    explicit Cursor(std::string_view texto) noexcept
        : texto_(texto)
    {
    }
    bool digitos(std::size_t n, unsigned& valor) noexcept
    {
        if (texto_.size() - pos_ < n) {
            return false;
        }
        valor = 0;
        for (std::size_t i = 0; i < n; ++i) {
            const char c = texto_[pos_ + i];
            if (c < '0' || c > '9') {
                return false;
            }
            valor = valor * 10 + static_cast<unsigned>(c - '0');
        }
        pos_ += n;
        return true;
    }
    bool literal(char c) noexcept
    {
        if (pos_ < texto_.size() && texto_[pos_] == c) {
            ++pos_;
            return true;
        }
        return false;
    }
    [[nodiscard]] bool ehDigito() const noexcept
    {
        return pos_ < texto_.size() && texto_[pos_] >= '0' && texto_[pos_] <= '9';
    }
    [[nodiscard]] bool noFim() const noexcept { return pos_ == texto_.size(); }

private:
    std::string_view texto_;
    std::size_t pos_ = 0;
};

} // namespace

std::optional<Valor> lerBinario(std::span<const unsigned char> bytes)
{
    return LeitorBinario(bytes).ler();
}

std::optional<Valor> lerXml(std::span<const unsigned char> bytes)
{
    std::optional<std::size_t> inicio = comecaCom(bytes, "<?xml");
    if (!inicio) {
        inicio = comecaCom(bytes, "<plist");
    }
    if (!inicio) {
        return std::nullopt;
    }
    // Expat takes no white space before the XML declaration: start at the first tag.
    return LeitorXml().ler(bytes.subspan(*inicio));
}

std::optional<Valor> ler(std::span<const unsigned char> bytes)
{
    if (bytes.size() >= kCabecalhoBinario.size()
        && std::memcmp(bytes.data(), kCabecalhoBinario.data(), kCabecalhoBinario.size()) == 0) {
        return lerBinario(bytes);
    }
    return lerXml(bytes);
}

std::optional<Date> dataIso8601(std::string_view texto) noexcept
{
    Cursor c(texto);
    unsigned ano = 0;
    unsigned mes = 0;
    unsigned dia = 0;
    unsigned hora = 0;
    unsigned minuto = 0;
    unsigned segundo = 0;
    if (!c.digitos(4, ano) || !c.literal('-') || !c.digitos(2, mes) || !c.literal('-') || !c.digitos(2, dia)
        || !c.literal('T') || !c.digitos(2, hora) || !c.literal(':') || !c.digitos(2, minuto)
        || !c.literal(':') || !c.digitos(2, segundo)) {
        return std::nullopt;
    }
    if (mes < 1 || mes > 12 || dia < 1 || dia > diasNoMes(ano, mes) || hora > 23 || minuto > 59
        || segundo > 60) {
        return std::nullopt;
    }
    double fracao = 0.0;
    if (c.literal('.') || c.literal(',')) {
        if (!c.ehDigito()) {
            return std::nullopt;
        }
        // Nine digits reach nanoseconds; further digits are read and ignored.
        double escala = 1.0;
        unsigned digito = 0;
        std::uint64_t valor = 0;
        for (int i = 0; c.ehDigito(); ++i) {
            c.digitos(1, digito);
            if (i < 9) {
                valor = valor * 10 + digito;
                escala *= 10.0;
            }
        }
        fracao = static_cast<double>(valor) / escala;
    }
    std::int64_t deslocamento = 0;
    if (!c.literal('Z')) {
        int sinal = 0;
        if (c.literal('+')) {
            sinal = 1;
        } else if (c.literal('-')) {
            sinal = -1;
        } else {
            return std::nullopt;
        }
        unsigned horas = 0;
        unsigned minutos = 0;
        if (!c.digitos(2, horas)) {
            return std::nullopt;
        }
        c.literal(':');
        if (!c.digitos(2, minutos) || horas > 23 || minutos > 59) {
            return std::nullopt;
        }
        deslocamento = sinal * (std::int64_t {horas} * 3600 + std::int64_t {minutos} * 60);
    }
    if (!c.noFim()) {
        return std::nullopt;
    }
    const std::int64_t noDia = (std::int64_t {hora} * 60 + minuto) * 60 + segundo;
    const std::int64_t segundos = diasDesde1970(ano, mes, dia) * 86400 + noDia - deslocamento;
    return Date::desde1970(static_cast<double>(segundos) + fracao);
}

} // namespace tarrafa::Plist
