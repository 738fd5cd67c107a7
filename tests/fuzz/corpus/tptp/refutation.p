cnf(a,axiom, p(X) | ~ q('x).') ).
cnf(b,negated_conjecture, ~ p(c) ).
