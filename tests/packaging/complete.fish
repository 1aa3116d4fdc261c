# complete.fish FILE: for each line of standard input, what fish completes at its end, then a line with an "=".
source $argv[1]

while read -l line
    complete -C $line
    echo =
end
