# Completion of cas2orv for bash.

_cas2orv() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local commands='convert check targets machine verify explain show diff export report batch help'
    local command=${COMP_WORDS[1]} options words
    COMPREPLY=()
    # bash takes '=' as a word of its own.
    if [[ $word == = ]]; then
        word=
    elif [[ $before == = ]]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    if ((COMP_CWORD == 1)); then
        mapfile -t COMPREPLY < <(compgen -W "$commands --help --version" -- "$word")
        return
    fi
    case $before in
        --progress)
            words='auto plain none'
            ;;
        --collection)
            words='Properties CreateFolders DeleteFolders CreateFiles DeleteFiles CreateKeys DeleteKeys
                CreateValues DeleteValues CreateShortcuts DeleteShortcuts CreateEnvVars DeleteEnvVars
                CreateServices DeleteServices ControlServices CreateAssemblies DeleteAssemblies
                PreActions PostActions'
            ;;
        --engine)
            words='local slurm'
            ;;
        --match | --jobs | --timeout | --memory | --only | --slurm-option | --packages-per-task)
            return
            ;;
        --log | --machine | --record | --reg | --output | -o)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            return
            ;;
    esac
    case $command in
        convert)
            options='--replace --log --machine --progress --sums --record --strict --json'
            ;;
        check) options='--machine --progress --strict --json' ;;
        targets) options='--machine --json' ;;
        machine) options='--machine --json' ;;
        verify | explain | diff) options='--json' ;;
        show) options='--collection --match --json' ;;
        export) options='--reg --machine --json' ;;
        report) options='--output --json' ;;
        batch)
            options='--output --jobs --timeout --memory --retry --only --no-summary --engine
                --slurm-option --packages-per-task --detach --machine --progress --sums --strict
                --json'
            ;;
        help) [[ $word == -* ]] || words=$commands ;;
    esac
    if [[ -n $words ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
    elif [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options --help" -- "$word")
    elif [[ $command != machine ]]; then
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
    fi
}

complete -F _cas2orv cas2orv
