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
 *** Start: Create objects                                    ***
 ****************************************************************/

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


/****************************************************************
 *** Start: Update objects                                    ***
 ****************************************************************/

CREATE OR REPLACE PROCEDURE dbo.usp_b(IN p_a integer, IN p_b character varying)
 LANGUAGE sql
AS $procedure$ SELECT 1 $procedure$;


/****************************************************************
 *** End: Update objects                                      ***
 ****************************************************************/


/****************************************************************
 *** Start: Drop objects                                      ***
 ****************************************************************/

DROP VIEW IF EXISTS dbo.vw_z_top;

DROP VIEW IF EXISTS dbo.vw_y;

DROP PROCEDURE IF EXISTS dbo.usp_z(IN p_a integer, IN p_b character varying);

/****************************************************************
 *** End: Drop objects                                        ***
 ****************************************************************/


