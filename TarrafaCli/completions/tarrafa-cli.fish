# SPDX-License-Identifier: GPL-3.0-or-later
# Fish completion for tarrafa-cli: subcommands, options, and the names in the Downloads folder
# for the subcommands that decide on its files or move them to the Trash.

# The Downloads folder, as tarrafa-cli finds it: xdg-user-dirs' answer, unless that is the home
# itself (a folder turned off), else ~/Downloads.
function __tarrafa_cli_downloads
    set -l pasta (xdg-user-dir DOWNLOAD 2>/dev/null)
    if test -z "$pasta"; or test (string trim -r -c / -- $pasta) = (string trim -r -c / -- $HOME)
        set pasta $HOME/Downloads
    end
    echo $pasta
end

# The visible entries of the Downloads folder, by name.
function __tarrafa_cli_arquivos
    set -l pasta (__tarrafa_cli_downloads)
    for caminho in $pasta/*
        string replace -r '.*/' '' -- $caminho
    end
end

set -l __tarrafa_cli_subcomandos adiar resolver ignorar esquecer lixeira restaurar vigiar
set -l __tarrafa_cli_decidem adiar resolver ignorar esquecer lixeira

complete -c tarrafa-cli -f
complete -c tarrafa-cli -n "not __fish_seen_subcommand_from $__tarrafa_cli_subcomandos" -a adiar -d 'Adia cada arquivo (vai para Adiados)'
complete -c tarrafa-cli -n "not __fish_seen_subcommand_from $__tarrafa_cli_subcomandos" -a resolver -d 'Marca cada arquivo como resolvido'
complete -c tarrafa-cli -n "not __fish_seen_subcommand_from $__tarrafa_cli_subcomandos" -a ignorar -d 'Marca cada arquivo como ignorado'
complete -c tarrafa-cli -n "not __fish_seen_subcommand_from $__tarrafa_cli_subcomandos" -a esquecer -d 'Esquece a decisão'
complete -c tarrafa-cli -n "not __fish_seen_subcommand_from $__tarrafa_cli_subcomandos" -a lixeira -d 'Move cada arquivo para a Lixeira'
complete -c tarrafa-cli -n "not __fish_seen_subcommand_from $__tarrafa_cli_subcomandos" -a restaurar -d 'Traz o arquivo de volta da Lixeira'
complete -c tarrafa-cli -n "not __fish_seen_subcommand_from $__tarrafa_cli_subcomandos" -a vigiar -d 'Escreve uma linha a cada mudança na pasta'
# The report and the watch read a folder.
complete -c tarrafa-cli -n "not __fish_seen_subcommand_from $__tarrafa_cli_decidem restaurar" -a '(__fish_complete_directories)'
complete -c tarrafa-cli -n "not __fish_seen_subcommand_from $__tarrafa_cli_decidem restaurar" -l json -d 'Escreve JSON em vez de texto'
# The report's places of the sidebar.
complete -c tarrafa-cli -n "not __fish_seen_subcommand_from $__tarrafa_cli_subcomandos" -l estado -x -a 'caixa adiados resolvidos todos' -d 'Lista só os arquivos de um estado'
complete -c tarrafa-cli -n "not __fish_seen_subcommand_from $__tarrafa_cli_subcomandos" -s h -l help -d 'Mostra a ajuda'
complete -c tarrafa-cli -n "not __fish_seen_subcommand_from $__tarrafa_cli_subcomandos" -l version -d 'Mostra a versão'
complete -c tarrafa-cli -n "__fish_seen_subcommand_from $__tarrafa_cli_decidem" -a '(__tarrafa_cli_arquivos)'
complete -c tarrafa-cli -n "__fish_seen_subcommand_from restaurar" -F
