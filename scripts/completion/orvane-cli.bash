# Completion of orvane-cli for bash.

_orvane_cli() {
    local current previous words=() word group command options
    current=${COMP_WORDS[COMP_CWORD]}
    previous=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()

    # The command is the first word that is no option, and in some cases the one behind it too.
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        [[ $word == -* ]] || words+=("$word")
    done
    group=${words[0]:-}
    command=$group
    case $group in
        album|recording|track|settings|filter|curve|cut|cue|repairs|preset|break) command="$group ${words[1]:-}" ;;
    esac

    case $previous in
        --format) COMPREPLY=($(compgen -W "wav flac ogg aiff" -- "$current")); return ;;
        --as)
            options="m3u m3u8 wpl cdc txt csv"
            [[ $group != curve ]] || options="default batch"
            COMPREPLY=($(compgen -W "$options" -- "$current"))
            return
            ;;
        --kept) COMPREPLY=($(compgen -W "default batch" -- "$current")); return ;;
        --bits) COMPREPLY=($(compgen -W "16 24 32 32f" -- "$current")); return ;;
        --without) COMPREPLY=($(compgen -W "clicks cuts filters denoise equaliser faders" -- "$current")); return ;;
        --method) COMPREPLY=($(compgen -W "apa ar fft best" -- "$current")); return ;;
        --channel|--channels) COMPREPLY=($(compgen -W "l r lr" -- "$current")); return ;;
        --type) COMPREPLY=($(compgen -W "pp bp" -- "$current")); return ;;
        --out) compopt -o filenames; COMPREPLY=($(compgen -d -- "$current")); return ;;
    esac

    case $command in
        "") options="digitise new info album recording track fade split break status waveform declick repairs patch preset filter curve cut cue listing render save probe convert settings --version" ;;
        "album ") options="list show add set remove" ;;
        "recording ") options="add" ;;
        "track ") options="list add set move remove" ;;
        "settings ") options="list get set" ;;
        "filter ") options="list add remove noise" ;;
        "cut ") options="list add remove" ;;
        "repairs ") options="list add remove apply" ;;
        "preset ") options="list scan filter curve import remove" ;;
        "preset list"|"preset remove") options="scan filter curve" ;;
        "preset filter") options="hum= harmonics= rumble= hiss= quality= noise= eq= preamp=" ;;
        "preset import") options="--replace" ;;
        "preset scan") options="--sensitivity --percussion --brass --passes --channels --equalise --no-equalise --keep-manual --no-keep-manual --keep-scans --no-keep-scans" ;;
        "repairs apply") options="--side --type --channel --start --end" ;;
        repairs*) options="--side --channel --start --end" ;;
        patch) options="--side --start --end --method --channels --preamp --replace" ;;
        "break ") options="clear insert remove" ;;
        split) options="--adjust" ;;
        "break insert"|"break remove") options="--at --alt" ;;
        "cue ") options="write read" ;;
        listing) options="--as --out" ;;
        "curve ") options="list names add keep remove" ;;
        waveform) options="--side --png --from --to --width" ;;
        declick) options="--side --preset --sensitivity --percussion --brass --passes --channels --equalise --no-equalise --keep-manual --no-keep-manual --keep-scans --no-keep-scans --if-new" ;;
        "filter noise") options="--side --from --to" ;;
        "filter add") options="--side --from --to --preset hum= harmonics= rumble= hiss= quality= noise= eq= preamp=" ;;
        "curve add") options="--side --from --to --kept" ;;
        "curve keep") options="--side --as" ;;
        "cut add") options="--side --from --to --splice" ;;
        "filter list"|"filter remove"|"curve list"|"curve remove"|"cut list"|"cut remove") options="--side" ;;
        digitise) options="--artist --album --year --genre --titles --collection --no-declick --no-split --no-cue --adjust --format --rate --bits --out --threads --template" ;;
        "album add") options="--artist --title --genre --label --grouping --composer --conductor --alias --comment --release_number --art_file --custom_tags --notes --year --playing_speed --channel_mode --status --single" ;;
        "album remove") options="--recordings --art --keep-album" ;;
        "album set") options="artist= title= genre= label= grouping= composer= conductor= alias= comment= release_number= art_file= custom_tags= notes= year= playing_speed= channel_mode= status= single=" ;;
        "recording add") options="--side --copy" ;;
        "track add") options="--title --artist --start --end --length" ;;
        "track set") options="title= artist= genre= grouping= composer= conductor= alias= comment= custom_tags= start= end= fade_in= fade_out= excluded=" ;;
        "track remove") options="--close-gap" ;;
        fade) options="in= out=" ;;
        render) options="--track --side --rate --bits --without" ;;
        save) options="--format --rate --bits --out --threads --template" ;;
        convert) options="--rate --bits" ;;
        *) options="" ;;
    esac
    local plain=() flags=()
    for word in $options --json --quiet --set --help; do
        if [[ $word == -* ]]; then flags+=("$word"); else plain+=("$word"); fi
    done
    if [[ $current == -* ]]; then
        COMPREPLY=($(compgen -W "${flags[*]}" -- "$current"))
        return
    fi
    COMPREPLY=($(compgen -W "${plain[*]}" -- "$current"))
    [[ ${COMPREPLY[0]:-} == *= ]] && compopt -o nospace
    # Where a command is still to be named no file can stand.
    [[ $command == "" || $command == *" " ]] && return
    local files
    mapfile -t files < <(compgen -f -- "$current")
    [[ ${#COMPREPLY[@]} -gt 0 ]] || compopt -o filenames
    COMPREPLY+=("${files[@]}")
}

complete -F _orvane_cli orvane-cli
