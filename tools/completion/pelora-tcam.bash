# Completion of pelora-tcam in bash. Source it, or install it as
# /usr/share/bash-completion/completions/pelora-tcam.
#
# Names of profiles, maps and facilities are asked of the tool itself, so they are those of the
# tool that is installed.

# What the tool prints in the first column, without the heading.
_pelora_tcam_first_column() {
    pelora-tcam "$1" 2> /dev/null | sed -n '2,$s/ .*//p'
}

_pelora_tcam_facilities() {
    pelora-tcam run --help 2> /dev/null | sed -n '/^Facilities/,$s/^  \(.*\)$/\1=/p'
}

# The sub-command among the words, which may have options in front of it.
_pelora_tcam_command() {
    local each
    for each in "$@"; do
        case $each in
        run | compare | profiles | maps | decode-trace | explain-udf | lookup)
            echo "$each"
            return
            ;;
        esac
    done
}

# The options of a sub-command; of the tool itself without one.
_pelora_tcam_options() {
    case $1 in
    run) echo "--help --chip --trace --numbering --ring-dump --snapshot --json" ;;
    compare) echo "--help --chip --numbering --json" ;;
    maps) echo "--help --numbering --json" ;;
    profiles | decode-trace) echo "--help --json" ;;
    explain-udf)
        echo "--help --base --offset --length --ethertype --inner-ethertype --protocol --priority" \
            "--app --lag-mask --chip --scenario --with --numbering --json"
        ;;
    lookup)
        echo "--help --scenario --rules --chip --action --packet --capture --trace --winners --jobs" \
            "--numbering --json"
        ;;
    *) echo "--help --version" ;;
    esac
}

# The words that can follow an option of a sub-command; fails for one without a value of that kind.
_pelora_tcam_values() {
    case $1 in
    --chip) _pelora_tcam_first_column profiles ;;
    --trace) [ "$2" != lookup ] && _pelora_tcam_facilities ;;
    --numbering) echo "default shuffled:" ;;
    --app) echo "ipv4Acl ipv6Acl macAcl ipv4TrafficPolicy" ;;
    --base)
        echo "l2Header l3Header l3OuterHeader l3OuterPayload l3InnerHeader l4InnerHeader" \
            "l4OuterHeader l4OuterPayload packetStart"
        ;;
    *) return 1 ;;
    esac
}

_pelora_tcam_offer() {
    COMPREPLY+=( $( compgen -W "$1" -- "$word" ) )
}

_pelora_tcam() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} values
    local command
    command=$( _pelora_tcam_command "${COMP_WORDS[@]:1:COMP_CWORD-1}" )
    COMPREPLY=()
    if values=$( _pelora_tcam_values "$before" "$command" ); then
        if [ "$before" = --trace ]; then
            compopt -o nospace 2> /dev/null # the levels follow
        fi
        _pelora_tcam_offer "$values"
        return
    fi
    case $word in
    -*)
        _pelora_tcam_offer "$( _pelora_tcam_options "$command" )"
        return
        ;;
    esac
    case $command in
    '') _pelora_tcam_offer "run compare profiles maps decode-trace explain-udf lookup" ;;
    maps) _pelora_tcam_offer "$( _pelora_tcam_first_column maps )" ;;
    profiles) _pelora_tcam_offer "$( _pelora_tcam_first_column profiles )" ;;
    esac
}

# Where there is nothing to offer, and beside profiles, files.
complete -o default -F _pelora_tcam pelora-tcam
