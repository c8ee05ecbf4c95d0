# Completion of brellix(1) for bash: commands, options, the words that options take, and files by their kind.
# A test compares the options with what each command's --help says.

_brellix_commands='init check detect calibrate eval compare bench'

_brellix_options_of() {
    case $1 in
        init) echo '-h --help -o --out -f --force --names --framework --quantized -q --quiet -v --verbose' ;;
        check) echo '-h --help --model --conf --nms --names --json -q --quiet' ;;
        detect)
            echo '-h --help --model --conf --nms -r --recursive --camera --every --limit -q --quiet -v --verbose' \
                '-o --out --crops --json --mask-format --names --classes'
            ;;
        calibrate) echo '-h --help --model -r --recursive -q --quiet -v --verbose -o --out -f --force' ;;
        eval)
            echo '-h --help --model --images --names --by-order --limit --conf --nms --json --plot --detections' \
                '-q --quiet -v --verbose'
            ;;
        compare)
            echo '-h --help --model --names -r --recursive --conf --nms --iou --margin -o --out --worst --json' \
                '-q --quiet -v --verbose' \
                '--max-missed --max-extra --max-changed --max-drift --min-box-iou --min-mask-iou'
            ;;
        bench)
            echo '-h --help --model --conf --nms -r --recursive --frames --warm-up --json -q --quiet -v --verbose'
            ;;
        *) echo '-h --help --version' ;;
    esac
}

# The kind of word that option $2 of command $1 takes; nothing where it takes none.
_brellix_argument_of() {
    case $2 in
        --model) echo 'yolov5 yolov5_cutoff yolov8_seg' ;;
        --framework) echo 'TensorRT RKNN ONNX' ;;
        --mask-format) echo 'rle polygon none' ;;
        --camera) echo CAMERA ;;
        --crops | --images) echo DIR ;;
        -o | --out) case $1 in detect | compare) echo DIR ;; *) echo FILE ;; esac ;;
        --json) [[ $1 == check ]] || echo FILE ;;
        --names | --plot | --detections) echo FILE ;;
        --conf | --nms | --every | --limit | --classes | --iou | --margin | --worst | --frames | --warm-up) echo OTHER ;;
        --max-* | --min-*) echo OTHER ;;
    esac
}

# The files that begin with $1 and match the extended pattern $2, and the folders.
_brellix_files() {
    local name was
    was=$(shopt -p extglob)
    shopt -s extglob
    while IFS= read -r name; do
        # shellcheck disable=SC2053  # the right side is a pattern
        [[ -d ${name/#\~\//$HOME/} || ${name,,} == $2 ]] && COMPREPLY+=("$name")
    done < <(compgen -f -- "$1")
    $was
    compopt -o filenames 2>/dev/null
}

_brellix_words() {
    # shellcheck disable=SC2207  # words without blanks
    COMPREPLY=($(compgen -W "$1" -- "$2"))
}

# The argument at place $2 (from 0) of command $1 that begins with $3.
_brellix_positional() {
    case $1$2 in
        init0) _brellix_files "$3" '*.onnx' ;;
        check0 | detect0 | calibrate0 | eval0 | bench0 | compare[01]) _brellix_files "$3" '*.@(yaml|yml)' ;;
        eval1) _brellix_files "$3" '*.@(json|yaml|yml)' ;;
        init* | check* | eval*) ;;
        *) _brellix_files "$3" '*' ;;
    esac
}

_brellix_argument() {
    local device
    case $1 in
        DIR) _brellix_files "$2" '' ;;
        FILE) _brellix_files "$2" '*' ;;
        OTHER) ;;
        CAMERA)
            for device in /dev/video*; do
                [[ -e $device && ${device#/dev/video} == "$2"* ]] && COMPREPLY+=("${device#/dev/video}")
            done
            ;;
        *) _brellix_words "$1" "$2" ;;
    esac
}

_brellix() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local command=${COMP_WORDS[1]} place=0 argument index
    COMPREPLY=()
    if ((COMP_CWORD == 1)); then
        case $current in
            -*) _brellix_words "$(_brellix_options_of '')" "$current" ;;
            *) _brellix_words "$_brellix_commands" "$current" ;;
        esac
        return
    fi
    # bash takes --option=word apart into three.
    if [[ $current == '=' ]]; then
        current=''
    elif [[ $previous == '=' ]]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    argument=$(_brellix_argument_of "$command" "$previous")
    if [[ -n $argument ]]; then
        _brellix_argument "$argument" "$current"
    elif [[ $current == -* ]]; then
        _brellix_words "$(_brellix_options_of "$command")" "$current"
    else
        for ((index = 2; index < COMP_CWORD; ++index)); do
            if [[ ${COMP_WORDS[index]} == -?* ]]; then
                [[ -n $(_brellix_argument_of "$command" "${COMP_WORDS[index]}") ]] && ((++index))
                [[ ${COMP_WORDS[index]} == '=' ]] && ((++index))
            else
                ((++place))
            fi
        done
        _brellix_positional "$command" "$place" "$current"
    fi
}

complete -F _brellix brellix
