# complete.zsh FILE: for each line of standard input, what zsh completes at its end, then a line with an "=". Only a
# shell with a terminal completes, so there is one within this one.
zmodload zsh/zpty
folder=$1:h
scratch=$(mktemp -d)
trap 'rm -rf $scratch' EXIT

cat > $scratch/.zshrc <<'END'
PS1= PS2= RPS1=
unsetopt zle_bracketed_paste 2>/dev/null
zle_bracketed_paste=()
fpath=($COMPLETIONS $fpath)
autoload -Uz compinit && compinit -u -D
compadd() {
    builtin compadd "$@"
    local code=$?
    # With these options words are only looked at, not offered.
    [[ ${argv[(I)-[ADO]*]} == 0 ]] || return code
    local -a offered
    builtin compadd -O offered "$@"
    ((${#offered} == 0)) || print -rl -- $offered >> $OFFERED
    return code
}
offer() { _main_complete; print -rn -- '<done>' > /dev/tty }
zle -C offer list-choices offer
bindkey '^I' offer
bindkey '^U' kill-whole-line
print -rn -- '<ready>' > /dev/tty
END

export COMPLETIONS=$folder OFFERED=$scratch/offered
zpty inner "ZDOTDIR=$scratch zsh -d -i"
zpty -r inner output '*<ready>*'
while IFS= read -r line; do
    : > $OFFERED
    zpty -w -n inner "$line"$'\t'
    zpty -r inner output '*<done>*'
    sort -u $OFFERED
    print =
    zpty -w -n inner $'\x15'
done
zpty -d inner
