#!/usr/bin/env bash
# Fails where two sources of a target have the same name of their own, in an unnamed namespace or static, and on a macro that a
# source leaves behind: the release build joins sources into units, and the development build, which does not, would not show it.
# tools/check_names.sh [BUILD [FOLDER]], the development build and its sources without them.
set -euo pipefail
commands=$(realpath -e "${1:-$(dirname "$0")/../build/dev}/compile_commands.json")
cd "${2:-$(dirname "$0")/..}"
perl -e '
  use strict;
  use warnings;
  my $block = qr/(\{(?:[^{}]++|(?1))*+\})/;
  my $angle = qr/(<(?:[^<>(){};]++|(?1))*+>)/;
  my ($failed, %known);
  sub fail { print "$_[0]\n"; $failed = 1 }

  # Functions get along while their parameters differ and neither is in a namespace that hides the other, types while they are
  # the same.
  sub own {
    my ($file, $names, $name, $parameters) = @_;
    for my $other (@{$names->{$name}}) {
      my ($where, $what) = @$other;
      next if $where eq $file || $what && $parameters && ($what =~ /^=/ ? $what eq $parameters : $what ne $parameters && $what =~ /^(.*?)\(/ && $parameters =~ /^\Q$1\E\(/);
      fail("$where and $file each have $name of their own");
    }
    push @{$names->{$name}}, [$file, $parameters];
  }

  sub declaration {
    my ($file, $names, $in, $text) = @_;
    my $whole = $text;
    if ($text =~ /^\s*enum\s+(?!class\b|struct\b)[^{;]*\{(.*)\}/s) { own($file, $names, $_) for $1 =~ /(?:^|,)\s*(\w+)/g }
    1 while $text =~ s/$block/ /;
    $text =~ s/\[\[.*?\]\]//g;
    $text =~ s/^\s*template\s*$angle//;
    return if $text =~ /^\s*(using\s+namespace|using\s+[\w:]+\s*;|static_assert|friend|extern)/;
    return own($file, $names, $1, $2) if $text =~ /^\s*using\s+(\w+)\s*(=.*)/s;
    if ($text =~ /^\s*(struct|class|union|enum(\s+class)?)\s+(\w+)\s*(final\b\s*)?(:[^:].*)?;?\s*$/s) {
      own($file, $names, $3) unless $whole =~ /^[^{]*;\s*$/;
      return;
    }
    my $plain = $text;
    1 while $plain =~ s/$angle/$1 =~ tr{<>,}{   }r/e;
    if ($plain =~ /^[^=(]*?(::)?(\boperator[^\s\w(]+|\b\w+)\s*(\((?:[^()]++|(?3))*+\))/s) {
      my ($name, $parameters, $isMember) = ($2, substr($3, 1, -1), $1);
      return if $isMember;
      $parameters =~ s/\s*=[^,]*//g;
      return own($file, $names, $name, "$in(" . join ",", map { s/^\s+|\s+$//gr =~ s/([\s&*])\w+((\[\w*\])*)$/$1$2/r =~ s/\s+//gr } split /,/, $parameters);
    }
    1 while $plain =~ s/(\((?:[^()]++|(?1))*+\))//;
    own($file, $names, $_) for map { /(\w+)\s*(?:\[[^\]]*\]\s*)*(?:=.*|;)?\s*$/s ? $1 : () } split /,/, $plain;
  }

  sub scope {
    my ($file, $names, $in, $text, $isOwn) = @_;
    while ($text =~ /\G\s*(\S)/gc) {
      pos($text)--;
      if ($text =~ /\G(?:inline\s+)?namespace\s*([\w:]*)\s*(?=\{)/gc) {
        my ($name, $isHere) = ($1, $isOwn || $1 eq "");
        $text =~ /\G$block/gc or return fail("$file: a brace has no other");
        scope($file, $names, "$in$name", substr($1, 1, -1), $isHere);
      } elsif ($text =~ /\Gextern\s*""\s*(?=\{)/gc) {
        $text =~ /\G$block/gc;
        scope($file, $names, $in, substr($1, 1, -1), $isOwn);
      } else {
        my $begin = pos $text;
        while ($text =~ /\G[^{};]*+/gc) {
          # The block of a function ends it, that of a type or a value does not, nor one of those behind a constructor.
          my $head = substr($text, $begin, pos($text) - $begin);
          $head =~ s/^template\s*$angle\s*//;
          1 while $head =~ s/$block|(\((?:[^()]++|(?2))*+\))/ /;
          last if $text =~ /\G;/gc || $text !~ /\G$block/gc;
          last if $head !~ /=|^((constexpr|const|static)\s+)*(struct|class|union|enum)\b/ && $text !~ /\G(?=\s*[;,{])/;
        }
        return fail("$file: a declaration has no end") if pos($text) == $begin;
        my $found = substr($text, $begin, pos($text) - $begin);
        declaration($file, $names, $in, $found =~ s/^static\s+//r) if $isOwn || $found =~ /^static\s/;
      }
    }
  }

  my ($how, $names) = ("", {});
  while (<STDIN>) {
    $names = $known{"$1 $2"} //= {} if m{"command": "(.*) -o \S*CMakeFiles/([^/]+)\.dir/};
    next unless m{"file": "\Q$ENV{PWD}\E/((?!tests/|bench/|fuzz/|build/)\S+\.cpp)"};
    my $file = $1;
    open my $in, "<", $file or die "$file: $!";
    local $/;
    my $text = <$in>;
    $text =~ s{R"(\w*)\(.*?\)\1"|("(?:\\.|[^"\\\n])*")|(?<!\w)(\x27(?:\\.|[^\x27\\\n])+\x27)|//[^\n]*|/\*.*?\*/}{defined $2 ? "\"\"" : defined $3 ? "0" : ""}egs;
    my %macros;
    $text =~ s{^[ \t]*#[ \t]*(\w+)[ \t]*(\w*)(?:\\\n|[^\n])*}{$1 eq "define" ? $macros{$2} = 1 : $1 eq "undef" && delete $macros{$2}; ""}egm;
    fail("$file leaves the macro $_ behind") for sort keys %macros;
    scope($file, $names, "", $text, 0);
  }
  exit($failed ? 1 : 0);
' < "$commands"
