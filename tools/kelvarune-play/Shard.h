#ifndef KELVARUNE_PLAY_SHARD_H
#define KELVARUNE_PLAY_SHARD_H

#include <QString>

/// The path of the copy on which part `shard`, from 0, of `shards` is played: "comp.3-of-10.pos"
/// for the third part of "comp.pos".
QString shardPath(const QString &posPath, unsigned int shard, unsigned int shards);

/// Makes the file `copy`, which must not exist, with the content of the file `path`. Empty, or what
/// is wrong and what helps.
QString copyForShard(const QString &path, const QString &copy);

#endif
