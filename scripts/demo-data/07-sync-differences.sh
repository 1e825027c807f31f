#!/bin/sh
# Puts the demo's objects into its Subversion project, each as KORVO reads it
# from the server, and then makes the two sides differ in a few places, so that
# the first "Yes" to the synchronisation question shows real rows:
#   - usp_restock is changed on the server after its file was written;
#   - usp_archive_orders is in the repository only;
#   - vw_reorder_list is on the server only.
# Arguments: the repository's URL of the project folder and the psql program;
# PGHOST, PGPORT, PGUSER, PGPASSWORD and PGDATABASE reach the demo database.
set -eu
url=$1
psql=$2
wc=$(mktemp -d)
trap 'rm -rf "$wc"' EXIT
svn checkout --quiet --non-interactive --no-auth-cache --username demo "$url" "$wc/p"

# The texts as KORVO's PostgreSQL kind reads them: everything qualified. Each
# line: id, file extension, the text in base64.
"$psql" -X -q -v ON_ERROR_STOP=1 -tA -F ' ' -c "SET search_path = pg_catalog;
  SELECT oid, ext, translate(encode(convert_to(text, 'UTF8'), 'base64'), E'\n', '') FROM (
    SELECT p.oid, CASE p.prokind WHEN 'p' THEN '.sp' ELSE '.udf' END AS ext, pg_get_functiondef(p.oid) AS text
      FROM pg_proc p WHERE p.pronamespace = 'public'::regnamespace AND p.prokind IN ('f', 'p')
    UNION ALL SELECT c.oid, '.vw', format('CREATE OR REPLACE VIEW %I.%I AS', n.nspname, c.relname) || E'\n'
        || pg_get_viewdef(c.oid, true)
      FROM pg_class c JOIN pg_namespace n ON n.oid = c.relnamespace
      WHERE n.nspname = 'public' AND c.relkind = 'v' AND c.relname <> 'vw_reorder_list'
    UNION ALL SELECT t.oid, '.trg', pg_get_triggerdef(t.oid, true) FROM pg_trigger t WHERE NOT t.tgisinternal) o" |
  while read -r id ext text; do
    printf '%s' "$text" | base64 -d >"$wc/p/$id$ext"
  done

cat >"$wc/p/900001.sp" <<'SQL'
CREATE OR REPLACE PROCEDURE public.usp_archive_orders(IN p_before date)
 LANGUAGE sql
AS $procedure$
    DELETE FROM public.orders WHERE ordered_at < p_before AND status = 'cancelled';
$procedure$
SQL
svn add --quiet "$wc"/p/*
svn commit --quiet --non-interactive --no-auth-cache --username demo -m "Demo objects" "$wc/p"

# A change made on the server outside KORVO.
"$psql" -X -q -v ON_ERROR_STOP=1 -c "CREATE OR REPLACE PROCEDURE usp_restock(p_warehouse_id integer, p_product_id integer, p_quantity integer)
LANGUAGE sql AS \$\$
    -- Changed on the server, not yet in the repository: negative quantities are ignored.
    INSERT INTO stock (warehouse_id, product_id, quantity) VALUES (p_warehouse_id, p_product_id, greatest(p_quantity, 0))
    ON CONFLICT (warehouse_id, product_id) DO UPDATE SET quantity = stock.quantity + excluded.quantity;
\$\$;" >/dev/null
