// A bounded queue in an array that is used round and round, and a search in a sorted array.

class Queue {
  ghost var content: seq<int>
  var data: array<int>
  var first: int
  var size: int

  predicate Valid()
    reads this, data
  {
    0 < data.Length && 0 <= first < data.Length && 0 <= size <= data.Length &&
    |content| == size &&
    forall i :: 0 <= i < size ==>
      content[i] == data[if first + i < data.Length then first + i else first + i - data.Length]
  }

  constructor (capacity: int)
    requires 0 < capacity
    ensures Valid() && fresh(data) && content == [] && data.Length == capacity
  {
    data := new int[capacity];
    first, size, content := 0, 0, [];
  }

  method Put(x: int)
    requires Valid() && size < data.Length
    modifies this, data
    ensures Valid() && data == old(data) && content == old(content) + [x]
  {
    var last := if first + size < data.Length then first + size else first + size - data.Length;
    data[last] := x;
    size, content := size + 1, content + [x];
  }

  method Take() returns (x: int)
    requires Valid() && 0 < size
    modifies this
    ensures Valid() && data == old(data) && x == old(content[0]) && content == old(content[1..])
  {
    x := data[first];
    first := if first + 1 < data.Length then first + 1 else 0;
    size, content := size - 1, content[1..];
  }
}

method Search(a: array<int>, x: int) returns (found: int)
  requires forall i, j :: 0 <= i <= j < a.Length ==> a[i] <= a[j]
  ensures 0 <= found ==> found < a.Length && a[found] == x
  ensures found < 0 ==> forall i :: 0 <= i < a.Length ==> a[i] != x
{
  var low, high := 0, a.Length;
  while low < high
    invariant 0 <= low <= high <= a.Length
    invariant forall i :: 0 <= i < low ==> a[i] < x
    invariant forall i :: high <= i < a.Length ==> x < a[i]
  {
    var middle := (low + high) / 2;
    if a[middle] < x {
      low := middle + 1;
    } else if x < a[middle] {
      high := middle;
    } else {
      return middle;
    }
  }
  return -1;
}
