# bash completion for moxi, mxasm, mxdis, mxwasm and mxcc

# _moxi_files SUFFIXES WORD: files and folders that begin with the word; with suffixes, which stand
# between "|", only such files, and folders.
_moxi_files() {
    local name suffixes="*@($1)"
    compopt -o filenames 2>/dev/null
    while IFS= read -r name; do
        if [ -z "$1" ] || [ -d "$name" ] || [[ $name == $suffixes ]]; then COMPREPLY+=("$name"); fi
    done < <(compgen -f -- "$2")
}

_moxi_options() {
    local option
    while IFS= read -r option; do COMPREPLY+=("$option"); done < <(compgen -W "$1" -- "$2")
}

_moxi() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    case $before in
        --run-ms | --date | --data-limit | --music-volume | --sound-volume) return ;;
        --scale) _moxi_options "fit 1 2 3 4" "$word"; return ;;
        --desktop) _moxi_options "1280x800 1920x1080 2560x1440" "$word"; return ;;
        --soundfont) _moxi_files "" "$word"; return ;;
        --data-folder | --bundle | --pack | --new | --script | --dump-image | --dump-screen | --dump-view | --dump-ui | --trace | --preferences | \
            --record | --render-audio | --profile) _moxi_files "" "$word"; return ;;
    esac
    if [ "${word#-}" != "$word" ]; then
        _moxi_options "--help --version --data-folder --mute --music-volume --sound-volume --soundfont --full-screen
            --scale --headless --desktop --script --run-ms --date --dump-image --dump-screen --dump-view --trace
            --record --preferences --dump-ui
            --render-audio --no-sandbox --no-translate --open-urls --data-limit --debug --profile --watch --bundle --pack --with-symbols --new --c --lua" "$word"
    else
        _moxi_files ".MX|.mxz|.zip|.wasm" "$word"
    fi
}

_mxasm() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    case $before in
        -o | -l | -I | --symbols) _moxi_files "" "$word"; return ;;
        -D) return ;;
    esac
    if [ "${word#-}" != "$word" ]; then
        _moxi_options "-o -l -I -D --symbols --help --version" "$word"
    else
        _moxi_files .mxs "$word"
    fi
}

_mxdis() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    if [ "$before" = --symbols ]; then
        _moxi_files "" "$word"
    elif [ "${word#-}" != "$word" ]; then
        _moxi_options "--raw --symbols --help --version" "$word"
    else
        _moxi_files .MX "$word"
    fi
}

_mxwasm() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    case $before in
        -o | -S | --symbols | --lines) _moxi_files "" "$word"; return ;;
        --memory | --stack | --heap) return ;;
    esac
    if [ "${word#-}" != "$word" ]; then
        _moxi_options "-o -S --symbols --lines --memory --stack --heap --check-bounds --calls --wasm4
            --identity --code-end --help --version" "$word"
    else
        _moxi_files .wasm "$word"
    fi
}

_mxcc() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    case $before in
        -o | -I | --symbols | --lines) _moxi_files "" "$word"; return ;;
        --memory | --stack | --heap) return ;;
    esac
    if [ "${word#-}" != "$word" ]; then
        _moxi_options "-o -c -g -O2 -O3 -Os -I -D -l -L -Wall --symbols --lines --memory --stack --heap
            --check-bounds --help --version" "$word"
    else
        _moxi_files "" "$word"
    fi
}

complete -F _moxi moxi
complete -F _mxasm mxasm
complete -F _mxdis mxdis
complete -F _mxwasm mxwasm
complete -F _mxcc mxcc
