# shellcheck shell=bash
# Completion for kvl-media in bash. To be sourced, or put into a directory of bash-completion.

_kvl_media() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} words='' files=''
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    words='check make seal verify clean --help --version'
  else
    case $before in
      --layout) words='single flat sibling am' ;;
      --links) words='keep follow' ;;
      --installer)
        if [[ ${COMP_WORDS[1]} == make ]]; then files=any; fi ;;
      --config | --key | --launcher | --sign) files=any ;;
      --inst | --keep-together) files=directory ;;
      --volume-size) words='cd dvd dvd-dl' ;;
      --jobs | --os | --system | --tag) ;;
      --machine) words='x86_64 arm64 ppc64le riscv64 s390x' ;;
      *)
        files=directory
        case ${COMP_WORDS[1]} in
          check) words='--help --installer --json --os --verbose' ;;
          make) words='--config --dry-run --help --inst --installer --iso --iso-only --jobs'
            words+=' --json --keep-together --launcher --layout --links --machine --presorted --quiet'
            words+=' --sign --system --tag --verbose --volume-size' ;;
          seal) words='--help --key' ;;
          verify) words='--help --jobs --json --key --wait' ;;
          clean) words='--help --yes' ;;
          *) files='' ;;
        esac ;;
    esac
  fi
  mapfile -t COMPREPLY < <(
    compgen -W "$words" -- "$word"
    case $files in
      any) compgen -f -- "$word" ;;
      directory) if [[ $word != -* ]]; then compgen -d -- "$word"; fi ;;
    esac
  )
}

complete -o filenames -F _kvl_media kvl-media
