# Finds the volume that WHO means: prints its number and the word that its line begins with.
isVolume() && isMeant(who) {
    print value("dm"), $1
    exit
}
