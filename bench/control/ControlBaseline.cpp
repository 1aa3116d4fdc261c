// Links what the program links, and does nothing: what a command can't do without.

int main()
{
    return 0;
}
