SET check_function_bodies = off;
/****************************************************************
 ***                                                          ***
 ***       The Script file was created using                  ***
 ***               KORVO v2.0 professional                    ***
 ***                                                          ***
 ***       Date Created:  dd.mm.yyyy hh:nn:ss                 ***
 ***                                                          ***
 ****************************************************************/


/****************************************************************
 *** Start: Drop all objects if they exist                    ***
 ****************************************************************/

DROP TRIGGER IF EXISTS tr_a ON dbo.t_ops;

DROP VIEW IF EXISTS dbo.vw_a_top;

DROP VIEW IF EXISTS dbo.vw_b_base;

DROP FUNCTION IF EXISTS dbo.fn_a(p_a integer);

DROP FUNCTION IF EXISTS dbo.trg_fn();

DROP PROCEDURE IF EXISTS dbo.usp_b(IN p_a integer, IN p_b character varying);

DROP PROCEDURE IF EXISTS dbo.usp_a(IN p_a integer, IN p_b character varying);

/****************************************************************
 *** End: Drop all objects if they exist                      ***
 ****************************************************************/


/****************************************************************
 *** Start: Create objects                                    ***
 ****************************************************************/

CREATE OR REPLACE PROCEDURE dbo.usp_b(IN p_a integer, IN p_b character varying)
 LANGUAGE sql
AS $procedure$ SELECT 1 $procedure$;


CREATE OR REPLACE PROCEDURE dbo.usp_a(IN p_a integer, IN p_b character varying)
 LANGUAGE sql
AS $procedure$ SELECT 1 $procedure$;


CREATE OR REPLACE FUNCTION dbo.fn_a(p_a integer)
 RETURNS integer
 LANGUAGE sql
AS $function$ SELECT 1 $function$;


CREATE OR REPLACE FUNCTION dbo.trg_fn()
 RETURNS trigger
 LANGUAGE plpgsql
AS $function$ BEGIN RETURN NEW; END $function$;


CREATE OR REPLACE VIEW dbo.vw_b_base AS
 SELECT 1 AS a;

CREATE OR REPLACE VIEW dbo.vw_a_top AS
 SELECT vw_b_base.a
   FROM dbo.vw_b_base;

CREATE TRIGGER tr_a AFTER INSERT OR UPDATE ON dbo.t_ops FOR EACH ROW EXECUTE FUNCTION dbo.trg_fn();

/****************************************************************
 *** End: Create objects                                      ***
 ****************************************************************/


