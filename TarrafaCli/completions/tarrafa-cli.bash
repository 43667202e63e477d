# SPDX-License-Identifier: GPL-3.0-or-later
# Bash completion for tarrafa-cli: subcommands, options, and the names in the Downloads folder
# for the subcommands that decide on its files or move them to the Trash.

# The Downloads folder, as tarrafa-cli finds it: xdg-user-dirs' answer, unless that is the home
# itself (a folder turned off), else ~/Downloads.
_tarrafa_cli_downloads()
{
    local pasta
    pasta=$(xdg-user-dir DOWNLOAD 2>/dev/null)
    if [[ -z $pasta || ${pasta%/} == "${HOME%/}" ]]; then
        pasta=$HOME/Downloads
    fi
    printf '%s\n' "$pasta"
}

_tarrafa_cli()
{
    local atual=${COMP_WORDS[COMP_CWORD]}
    local subcomandos="adiar resolver ignorar esquecer lixeira restaurar vigiar"
    local primeira=${COMP_WORDS[1]}
    local IFS=$'\n'
    COMPREPLY=()

    # The report's --estado takes one of the sidebar's places.
    if ((COMP_CWORD > 1)) && [[ ${COMP_WORDS[COMP_CWORD - 1]} == --estado && $primeira != vigiar ]]; then
        mapfile -t COMPREPLY < <(compgen -W $'caixa\nadiados\nresolvidos\ntodos' -- "$atual")
        return
    fi

    if ((COMP_CWORD == 1)); then
        if [[ $atual == -* ]]; then
            mapfile -t COMPREPLY < <(compgen -W $'--json\n--estado\n--help\n--version' -- "$atual")
        else
            mapfile -t COMPREPLY < <(compgen -W "${subcomandos// /$'\n'}" -- "$atual")
            # Or a folder to read.
            COMPREPLY+=($(compgen -d -- "$atual"))
        fi
        return
    fi

    case $primeira in
    adiar | resolver | ignorar | esquecer | lixeira)
        if [[ $atual == -* ]]; then
            mapfile -t COMPREPLY < <(compgen -W '--' -- "$atual")
            return
        fi
        # A path is completed as a path; a bare name among the Downloads folder's entries.
        if [[ $atual == */* || $atual == '~'* ]]; then
            COMPREPLY=($(compgen -f -- "$atual"))
            compopt -o filenames 2>/dev/null
            return
        fi
        local pasta nome
        pasta=$(_tarrafa_cli_downloads)
        for nome in "$pasta"/"$atual"*; do
            [[ -e $nome || -L $nome ]] || continue
            nome=${nome##*/}
            # Hidden entries are not in the inbox.
            [[ $nome == .* && $atual != .* ]] && continue
            COMPREPLY+=("$(printf '%q' "$nome")")
        done
        ;;
    restaurar)
        # What is in the Trash is no longer in the folder: any path.
        COMPREPLY=($(compgen -f -- "$atual"))
        compopt -o filenames 2>/dev/null
        ;;
    vigiar)
        if [[ $atual == -* ]]; then
            mapfile -t COMPREPLY < <(compgen -W $'--json\n--help\n--version\n--' -- "$atual")
        else
            COMPREPLY=($(compgen -d -- "$atual"))
            compopt -o dirnames 2>/dev/null
        fi
        ;;
    *)
        if [[ $atual == -* ]]; then
            mapfile -t COMPREPLY < <(compgen -W $'--json\n--estado\n--help\n--version\n--' -- "$atual")
        else
            COMPREPLY=($(compgen -d -- "$atual"))
            compopt -o dirnames 2>/dev/null
        fi
        ;;
    esac
}

complete -F _tarrafa_cli tarrafa-cli
