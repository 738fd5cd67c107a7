% Status   : Theorem
include('b.ax',[a,'b c']).
fof(a,axiom, ! [X] : (p(X) => q(X)) ). /* why ) */
fof('b c',conjecture, q("c\"") & 3.5 = x ). fof(d,conjecture, ~ ~ p ).
