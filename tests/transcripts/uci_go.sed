s/ time [0-9]+ nodes ([0-9]+)( nps [0-9]+)?/ time T nodes \1/
